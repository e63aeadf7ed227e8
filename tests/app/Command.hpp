#pragma once

#include "support/Scratch.hpp"
#include "support/Tree.hpp"

#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/types.h>

namespace orv::test {

using Words = std::vector<std::string>;

/// What a run of the command has left.
struct Outcome {
    int exit_code;
    std::string out;
    std::string err;
};

/// A command that prints nothing, and what it makes of a tree.
struct ChangeCase {
    Words before;
    Words arguments;
    int exit_code;
    std::string err; ///< "$W" is the work folder
    Words after;
};

/// Tests that run the built command, each in a home of its own.
class CommandTest : public testing::Test {
protected:
    CommandTest();

    /// Runs `orv --home HOME arguments…` in the work folder, without a terminal.
    Outcome orv(const Words& arguments) { return finish(start(arguments)); }

    /// The same in two steps, so that several can run at once. `out` takes standard output.
    pid_t start(const Words& arguments);
    pid_t start(const Words& arguments, const std::string& out);
    Outcome finish(pid_t process);

    /// Runs a case in a work folder of its own, and checks what it says.
    void check(const ChangeCase& row);

    /// The file that later runs have as standard input.
    void set_input(const std::string& path) { input_ = path; }

    /// The command line that runs it.
    [[nodiscard]] Words command(const Words& arguments) const;

    [[nodiscard]] Url at(std::string_view name) const { return work().appending(name); }
    [[nodiscard]] Url work() const { return scratch_ / "work"; }
    [[nodiscard]] Url home() const { return scratch_ / "home"; }

    /// `text` with the work folder's path in place of each "$W".
    [[nodiscard]] std::string told(std::string text) const;

    /// Where the command builds files.
    [[nodiscard]] Words temporaries() const;

    /// The database of the command's attributes.
    [[nodiscard]] Url database() const;

private:
    [[nodiscard]] Url output(pid_t process, const char* kind) const;

    Scratch scratch_;
    std::string input_ = "/dev/null";
    int starts_ = 0;
    std::vector<std::pair<pid_t, int>> started_;
};

/// Waits for a process to end; its exit code, or minus the signal that ended it.
int exit_code_of(pid_t process);

/// The words as `exec` wants them.
std::vector<char*> pointers(const Words& words);

} // namespace orv::test

#pragma once

#include "app/Command.hpp"
#include "utility/FileDescriptor.hpp"

namespace orv::test {

/// A program on a terminal of 80 columns.
class Pseudoterminal {
public:
    Pseudoterminal(const Words& command, const Url& folder);

    /// Waits until the program has shown `text` after what was waited for before; a test failure
    /// when it does not.
    void wait_for(std::string_view text);

    void type(std::string_view keys) const;

    /// Waits for the end of the program, and returns its exit code.
    int finish();

    /// All that it has shown.
    [[nodiscard]] const std::string& shown() const { return shown_; }

    [[nodiscard]] pid_t process() const { return process_; }

private:
    /// False at the end of the program, or when nothing comes for half a minute.
    bool read_more();

    FileDescriptor terminal_;
    pid_t process_ = 0;
    std::string shown_;
    std::size_t waited_for_ = 0;
};

inline constexpr std::string_view ctrl_c = "\x03";
inline constexpr std::string_view ctrl_d = "\x04";

} // namespace orv::test

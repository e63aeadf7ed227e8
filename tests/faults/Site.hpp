#pragma once

#include "faults/Scene.hpp"
#include "support/Scratch.hpp"
#include "support/Supervisor.hpp"
#include "utility/FileDescriptor.hpp"

#include <string>
#include <vector>

namespace orv::test {

/// A folder in which the `orv` command works on a scene, again and again: "home" is its home,
/// "outside" and "volume" lie beside it, and in it "disk". A living process, this one, owns
/// unfinished files in it, and a dead one has left some.
class Site {
public:
    explicit Site(Scene scene);

    /// From now on the file systems seem to lack something.
    void lack(const Lacking& lacking) { lacking_ = lacking; }

    /// From now on the command finds `text` at its standard input.
    void give_input(const std::string& text);

    [[nodiscard]] const Url& root() const { return root_.url(); }

    /// Makes all as the scene has it. Other volumes may be mounted at "volume" and "home/disk";
    /// they are emptied.
    void reset();

    /// No other process lives any more, and none has ever left anything.
    void forget_living();

    /// Runs `orv` on the home; arguments that name an item begin with "@", for the root.
    [[nodiscard]] Supervision run(const std::vector<std::string>& arguments,
                                  const Fault& fault = {}) const;

    /// Starts the library once more, as the next command does. Says whether it came up.
    [[nodiscard]] bool start_again() const;

    /// What stands below the root now, without what the library keeps for itself.
    [[nodiscard]] Snapshot items() const;
    [[nodiscard]] Rows rows() const;

    /// The names in the folder for unfinished files, and those of them that a living process owns.
    [[nodiscard]] std::vector<std::string> unfinished() const;
    [[nodiscard]] static std::vector<std::string> unfinished_of_living();
    /// Whether another process, a living or a dead one, had left the unfinished file there.
    [[nodiscard]] static bool is_unfinished_from_the_start(const std::string& name);

private:
    [[nodiscard]] Url database() const;
    [[nodiscard]] Url unfinished_folder() const;
    void make_database();
    void own_unfinished_files();

    Scratch root_;
    Scene scene_;
    Lacking lacking_;
    Scratch outside_; // where calls are not watched
    bool has_input_ = false;
    std::string database_; // the bytes of one that holds the scene's rows
    std::vector<FileDescriptor> owned_;
};

/// The paths of the command that is tried.
[[nodiscard]] std::string orv_command();

/// The name of a hidden file that a living process builds in the folder "home/dest".
inline constexpr const char* living_hidden_file = ".6f9619ff-8b86-4011-b42d-00c04fc964ff.orvresume";

} // namespace orv::test

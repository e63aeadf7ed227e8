#pragma once

#include "utility/FileDescriptor.hpp"

#include <orv/utility/Error.hpp>
#include <orv/utility/FunctionRef.hpp>
#include <orv/utility/Url.hpp>

#include <optional>
#include <string>
#include <vector>

#include <sys/resource.h>

namespace orv::test {

/// While it lives, permissions count for this thread even when the tests run as root. `folder` is
/// handed to the user that it acts as.
class Unprivileged {
public:
    explicit Unprivileged(const Url& folder);
    ~Unprivileged();
    Unprivileged(const Unprivileged&) = delete;
    Unprivileged& operator=(const Unprivileged&) = delete;

private:
    int user_before_;
};

/// While it lives, `spare` more descriptors can be opened and no others.
class DescriptorLimit {
public:
    explicit DescriptorLimit(unsigned spare);
    ~DescriptorLimit();
    DescriptorLimit(const DescriptorLimit&) = delete;
    DescriptorLimit& operator=(const DescriptorLimit&) = delete;

private:
    rlimit before_{};
};

/// Gives the process mounts of its own, which end with it. Says why when it cannot.
[[nodiscard]] std::optional<std::string> mounts_of_its_own();

/// Makes `levels` folders, one inside the other and all called `name`, each beside two files.
void make_deep_tree(const Url& root, int levels, const std::string& name);

/// Makes the folder `url` with `count` files in it, and returns their names.
std::vector<std::string> make_wide_folder(const Url& url, int count);

/// Makes an item that is neither file nor folder.
void make_fifo(const Url& url);
void make_socket(const Url& url);

[[nodiscard]] FileDescriptor opened_folder(const Url& url);

/// What `action` throws; no value when it throws nothing.
[[nodiscard]] std::optional<Error> error_of(FunctionRef<void()> action);

} // namespace orv::test

#pragma once

#include "support/Supervisor.hpp"

#include <string>
#include <vector>

#include <linux/filter.h>
#include <linux/seccomp.h>

namespace orv::test {

/// A filter that lets every system call pass, save those that open or change files: these wait for
/// a listener's answer.
[[nodiscard]] std::vector<sock_filter> filter_of_watched_calls();

/// With which errno the call fails on file systems that lack something; 0 when it can be made.
[[nodiscard]] int code_of_lacking(const Lacking& lacking, const seccomp_notif& call);

/// The call as a person reads it, such as "renameat2 /a/b /a/c", when it concerns a file below
/// the folder `root`; else empty. The caller has to be held meanwhile.
[[nodiscard]] std::string call_below(const std::string& root, const seccomp_notif& call);

} // namespace orv::test

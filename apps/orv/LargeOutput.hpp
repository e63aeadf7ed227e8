#pragma once

#include <string>
#include <string_view>

namespace orv::app {

/// The reader of standard output has gone: there is nobody left to write for.
struct ClosedOutput {};

/// Standard output, written in large blocks.
///
/// Errors: `ClosedOutput`, or the platform's error of a failed write.
class LargeOutput {
public:
    void write(std::string_view text);

    /// Writes the buffered rest. Output without a call of `finish` is lost.
    void finish();

private:
    std::string held_;
};

} // namespace orv::app

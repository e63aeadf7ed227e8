#pragma once

#include <orv/utility/Url.hpp>

namespace orv::test {

/// A new empty folder, removed with everything in it at the end.
class Scratch {
public:
    /// Made in the folder `in`, or where temporary files belong.
    explicit Scratch(const Url& in = {});
    ~Scratch();
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    [[nodiscard]] const Url& url() const { return url_; }
    [[nodiscard]] Url operator/(std::string_view name) const { return url_.appending(name); }

private:
    Url url_;
};

} // namespace orv::test

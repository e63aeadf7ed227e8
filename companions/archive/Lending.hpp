#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace orv::archive {

/// Objects with an expensive construction, kept for the next user.
///
/// Threading: any.
template <class Object>
class Lending {
public:
    using Maker = std::function<std::unique_ptr<Object>()>;

    explicit Lending(Maker make = &std::make_unique<Object>) : make_(std::move(make)) {}

    /// One of the objects, for as long as this lives. The lender has to outlive it.
    class Loan {
    public:
        explicit Loan(Lending& lender) : lender_(lender), object_(lender.take()) {}
        ~Loan() { lender_.give_back(std::move(object_)); }
        Loan(const Loan&) = delete;
        Loan& operator=(const Loan&) = delete;

        Object& operator*() const { return *object_; }
        Object* operator->() const { return object_.get(); }

    private:
        Lending& lender_;
        std::unique_ptr<Object> object_;
    };

private:
    std::unique_ptr<Object> take()
    {
        {
            const std::lock_guard lock(mutex_);
            if (!free_.empty()) {
                std::unique_ptr<Object> object = std::move(free_.back());
                free_.pop_back();
                return object;
            }
        }
        return make_();
    }

    void give_back(std::unique_ptr<Object> object)
    {
        const std::lock_guard lock(mutex_);
        free_.push_back(std::move(object));
    }

    const Maker make_;
    std::mutex mutex_;
    std::vector<std::unique_ptr<Object>> free_;
};

} // namespace orv::archive

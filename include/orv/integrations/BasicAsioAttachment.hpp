#pragma once

#include <orv/utility/MainQueue.hpp>

#include <cerrno>
#include <memory>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace orv {

/// Runs the main queue's closures in an Asio event loop during its lifetime, nested runs included.
/// The thread of its constructor becomes the main thread. `StreamDescriptor` is
/// `posix::stream_descriptor` of the Asio in use.
///
/// It is work for the context: `run()` returns after `stop()` or the end of this object.
///
/// Exceptions: an exception from a closure leaves `run()`, like one from any handler. The next run
/// goes on with the closures behind it.
///
/// Threading: one thread runs the context, and makes and ends this.
/// Errors: `std::system_error` if no descriptor is left for it.
template <class StreamDescriptor>
class BasicAsioAttachment {
public:
    template <class Context>
    explicit BasicAsioAttachment(Context& context)
        : descriptor_(std::make_shared<StreamDescriptor>(context))
    {
        watch(duplicate());
        MainQueue::instance().attach();
        wait(descriptor_);
    }

    BasicAsioAttachment(const BasicAsioAttachment&) = delete;
    BasicAsioAttachment& operator=(const BasicAsioAttachment&) = delete;

private:
    // Asio closes the descriptors it watches, and the queue's own must stay open.
    static int duplicate()
    {
        const int fd = ::fcntl(MainQueue::instance().fd(), F_DUPFD_CLOEXEC, 0);
        if (fd < 0)
            throw std::system_error(errno, std::generic_category(),
                                    "The main queue couldn't be attached to the event loop");
        return fd;
    }

    void watch(int fd)
    {
        try {
            descriptor_->assign(fd);
        } catch (...) {
            ::close(fd);
            throw;
        }
    }

    static void wait(const std::shared_ptr<StreamDescriptor>& descriptor)
    {
        descriptor->async_wait(
            StreamDescriptor::wait_read,
            [watched = std::weak_ptr<StreamDescriptor>(descriptor)](const auto& error) {
                const auto still_attached = watched.lock();
                if (error || !still_attached)
                    return;
                // Before the closures run: one of them may run the loop again, or throw.
                wait(still_attached);
                MainQueue::instance().drain();
            });
    }

    std::shared_ptr<StreamDescriptor> descriptor_;
};

} // namespace orv

#pragma once

#include <orv/integrations/GuardedDrain.hpp>
#include <orv/utility/MainQueue.hpp>

#include <QObject>
#include <QPointer>
#include <QSocketNotifier>
#include <utility>

// An application without windows may lack Qt's Gui.
#if __has_include(<QImage>)
#include <orv/integrations/qt_image.hpp>
#endif

namespace orv {

/// Runs the main queue's closures in Qt's event loop during its lifetime, nested loops included.
/// The thread of its constructor becomes the main thread.
///
///     QApplication app(argc, argv);
///     const orv::QtAttachment attachment;
///     return app.exec();
///
/// Exceptions: none may pass through Qt's loop. An exception from a closure goes to the handler;
/// without one it ends the process with a line about it. The loop goes on with the closures behind
/// it.
///
/// Threading: made after the application object and ended before it, on its thread, and not from
/// inside a closure.
class QtAttachment {
public:
    explicit QtAttachment(ClosureExceptionHandler handler = {})
        : notifier_(MainQueue::instance().fd(), QSocketNotifier::Read)
    {
        MainQueue::instance().attach();
        QObject::connect(&notifier_, &QSocketNotifier::activated, &notifier_,
                         [handler = std::move(handler)] { guarded_drain(handler); });
    }

private:
    QSocketNotifier notifier_;
};

/// `closure`, without effect after the end of `owner`.
///
///     manager.copy(from, to, orv::while_alive(this, [this](const auto& status) { … }));
///
/// Threading: the main thread calls the closure, and the owner ends there.
template <class Closure>
auto while_alive(QObject* owner, Closure closure)
{
    return [guard = QPointer<QObject>(owner),
            closure = std::move(closure)](auto&&... arguments) mutable {
        if (guard)
            closure(std::forward<decltype(arguments)>(arguments)...);
    };
}

} // namespace orv

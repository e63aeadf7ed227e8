#pragma once

#include <orv/integrations/GuardedDrain.hpp>
#include <orv/utility/MainQueue.hpp>

#include <utility>

#include <glib-unix.h>
#include <glib.h>

namespace orv {

/// Runs the main queue's closures in GLib's main loop, and so in GTK's, during its lifetime, nested
/// loops included. The thread of its constructor becomes the main thread.
///
///     const orv::GlibAttachment attachment;
///     g_main_loop_run(loop);
///
/// Exceptions: none may pass through GLib's loop. An exception from a closure goes to the handler;
/// without one it ends the process with a line about it. The loop goes on with the closures behind
/// it.
///
/// Threading: the thread of the loop makes it and ends it.
/// Ownership: keeps a reference to the context.
class GlibAttachment {
public:
    /// Attaches to `context`, or to the default one.
    explicit GlibAttachment(GMainContext* context = nullptr, ClosureExceptionHandler handler = {})
        : source_(g_unix_fd_source_new(MainQueue::instance().fd(), G_IO_IN))
    {
        MainQueue::instance().attach();
        g_source_set_name(source_, "orv main queue");
        // GLib still dispatches a closure with a nested loop when the next one is due.
        g_source_set_can_recurse(source_, TRUE);
        g_source_set_callback(source_, as_source_function(&drain),
                              new ClosureExceptionHandler(std::move(handler)), &delete_handler);
        g_source_attach(source_, context);
    }

    ~GlibAttachment()
    {
        g_source_destroy(source_);
        g_source_unref(source_);
    }

    GlibAttachment(const GlibAttachment&) = delete;
    GlibAttachment& operator=(const GlibAttachment&) = delete;

private:
    static gboolean drain(gint /*fd*/, GIOCondition /*condition*/, gpointer handler)
    {
        guarded_drain(*static_cast<const ClosureExceptionHandler*>(handler));
        return G_SOURCE_CONTINUE;
    }

    static void delete_handler(gpointer handler)
    {
        delete static_cast<ClosureExceptionHandler*>(handler);
    }

    // GLib calls it with the arguments of a GUnixFDSourceFunc, under any stored type.
    static GSourceFunc as_source_function(GUnixFDSourceFunc function)
    {
        return reinterpret_cast<GSourceFunc>(reinterpret_cast<void (*)()>(function));
    }

    GSource* source_;
};

} // namespace orv

// Requests in a GLib or GTK application: one line attaches the main queue to the main loop.
#include "LoopTour.hpp"

#include <orv/integrations/glib.hpp>

#include <memory>
#include <string_view>

namespace {

/// Runs the tour in the loop of `context`, or of the default one.
bool run_in(GMainContext* context)
{
    const std::unique_ptr<GMainLoop, decltype(&g_main_loop_unref)> loop(
        g_main_loop_new(context, FALSE), &g_main_loop_unref);
    int caught = 0;
    const orv::GlibAttachment attachment(context, [&](const std::exception_ptr&) { ++caught; });

    const orv::example::LoopTour tour([=] { g_main_context_iteration(context, TRUE); },
                                      [&] { g_main_loop_quit(loop.get()); });
    g_main_loop_run(loop.get());
    return tour.is_complete() && caught == 1;
}

} // namespace

int main()
{
    const std::unique_ptr<GMainContext, decltype(&g_main_context_unref)> own_context(
        g_main_context_new(), &g_main_context_unref);
    return run_in(nullptr) && run_in(own_context.get()) ? 0 : 1;
}

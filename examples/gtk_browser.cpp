// A file browser in GTK 4: gtk_browser [FOLDER]
#include "GtkBrowser.hpp"

int main(int argc, char** argv)
{
    gtk_init();
    const orv::GlibAttachment attachment;
    const orv::example::GtkBrowser browser(argc > 1 ? orv::Url(argv[1]) : orv::Url("."));
    while (browser.is_open())
        g_main_context_iteration(nullptr, TRUE);
    return 0;
}

// A file browser in Qt: qt_browser [FOLDER]
#include "QtBrowser.hpp"

int main(int argc, char** argv)
{
    const QApplication app(argc, argv);
    const orv::QtAttachment attachment;
    orv::example::QtBrowser window(argc > 1 ? orv::Url(argv[1]) : orv::Url("."));
    window.resize(900, 600);
    window.show();
    return QApplication::exec();
}

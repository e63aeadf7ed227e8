// A file browser in Qt: qt_browser [FOLDER [PICTURE.png]]
#include "QtBrowser.hpp"

#include <QTimer>

namespace {

/// Saves a picture of the window, once all that it shows is there, and ends the program.
void save_when_ready(orv::example::QtBrowser& window, const QString& file)
{
    auto* timer = new QTimer(&window);
    QObject::connect(timer, &QTimer::timeout, &window, [&window, file] {
        const QPixmap picture = window.grab(); // which draws it
        const auto& model = window.model();
        if (model.rows()->is_complete() && !model.is_making_thumbnails())
            QCoreApplication::exit(picture.save(file) ? 0 : 1);
    });
    timer->start(50);
}

} // namespace

int main(int argc, char** argv)
{
    const QApplication app(argc, argv);
    const orv::QtAttachment attachment;
    orv::example::QtBrowser window(argc > 1 ? orv::Url(argv[1]) : orv::Url("."));
    window.resize(900, 600);
    window.show();
    if (argc > 2)
        save_when_ready(window, argv[2]);
    return QApplication::exec();
}

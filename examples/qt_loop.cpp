// Requests in a Qt application: one line attaches the main queue to Qt's event loop.
#include "LoopTour.hpp"

#include <orv/integrations/qt.hpp>

#include <QEventLoop>
#include <QGuiApplication>

int main(int argc, char** argv)
{
    const QGuiApplication app(argc, argv);
    int caught = 0;
    const orv::QtAttachment attachment([&](const std::exception_ptr&) { ++caught; });

    const orv::example::LoopTour tour(
        [] { QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents); },
        [] { QCoreApplication::quit(); });
    QGuiApplication::exec();
    return tour.is_complete() && caught == 1 ? 0 : 1;
}

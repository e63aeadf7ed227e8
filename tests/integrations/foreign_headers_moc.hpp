#pragma once

// The library's headers come first, so that moc reads them before any of Qt.
#include <orv/integrations/qt.hpp>
#include <orv/integrations/qt_image.hpp>
#include <orv/integrations/qt_model.hpp>
#include <orv/orv.hpp>

#include <QObject>

namespace orv::test {

class Window : public QObject {
    Q_OBJECT

Q_SIGNALS:
    void copied(const orv::CopyOperation::Status& status);
    void told(const orv::OrvFolder::Status& status);
};

} // namespace orv::test

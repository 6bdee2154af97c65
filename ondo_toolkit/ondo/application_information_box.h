#pragma once

#include <QMap>
#include <QString>

class QWidget;

namespace ondo {

// The box that tells support which build runs where: system, ABI, compiler, application,
// build time and the source revisions.
class application_information_box {
public:
    // Ctrl+Shift+G (Command on macOS) anywhere in the application shows the box over `parent`.
    // `extra` adds "key:<tabs>value" lines at the end, in key order.
    static void install(QWidget* parent, QMap<QString, QString> extra);
    // The box's text.
    static QString text(const QMap<QString, QString>& extra);
};

} // namespace ondo

#pragma once

#include <QStringList>

class QFileDialog;
class QWidget;

namespace ondo {

// Dark-themed stand-in for QFileDialog::getOpenFileNames. Where the platform has a dialog of its
// own, that one opens and the theme doesn't matter; where Qt draws the dialog itself, it would
// otherwise inherit the window's pale text on its own light face.
class file_dialog {
public:
    // Opens inside `directory` with an empty name box; the chosen files, or none if cancelled.
    static QStringList get_open_file_names(QWidget* parent, const QString& caption, const QString& directory,
        const QString& filter);
};

// The dark sheet for Qt's own file dialog; its buttons lose the style's icons.
void style_file_dialog(QFileDialog& dialog);

} // namespace ondo

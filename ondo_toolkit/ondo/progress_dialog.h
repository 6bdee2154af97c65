#pragma once

#include <QProgressDialog>

namespace ondo {

// A QProgressDialog in the dark look: panel background, light text, a flat grey bar.
class progress_dialog : public QProgressDialog {
    Q_OBJECT
public:
    progress_dialog(QWidget* parent, Qt::WindowFlags flags);
};

} // namespace ondo

#pragma once

#include <QDialog>
#include <QSettings>

// The language choice, German or English. A change is stored the moment the selection changes
// and counts from the next start; the dialog has no buttons and is left by closing it.
class dialog_settings : public QDialog {
    Q_OBJECT
public:
    explicit dialog_settings(QWidget* parent);

private:
    QSettings settings;
};

#pragma once

#include <QDialog>
#include <QString>

#include <functional>

class QLabel;
class QVBoxLayout;

namespace ondo {

// One row of the credits: a heading, a few lines of text and, optionally, the path of a
// licence text resource that is shown in full below them.
struct third_party_entry {
    QString name;
    QString description;
    QString license_resource;
};

// The modal about box: logo strip, version, web site, the credits line and the copyright with
// the build's revision.
class dialog_about : public QDialog {
    Q_OBJECT
public:
    // `flag` has no effect. The logo is scaled to `logo_background_height` - `logo_margin`.
    dialog_about(QWidget* parent, bool flag, const QString& logo_style_sheet, int logo_background_height,
        int logo_margin);

    // Shows it application-modal, centred on `parent` if that keeps it on the screen.
    int exec_centered_on(QWidget* parent);
    // Makes the credits line open the toolkit's credits: Qt, and as asked ExifTool, FreeImage
    // and Little CMS.
    void default_3rdparty_libs(bool exiftool, bool image_libraries);
    // The web site row: `text` linking to `url`.
    void set_website(const QString& url, const QString& text);

    QVBoxLayout* main_layout = nullptr;
    // Runs on a click on the credits line, with this dialog as the parent to use.
    std::function<void(QWidget*)> third_party_action;

private:
    QLabel* website = nullptr;
};

// Lists the libraries the program uses, each with its licence; Qt's row always comes first.
class dialog_3rd_part_lib_info : public QDialog {
    Q_OBJECT
public:
    explicit dialog_3rd_part_lib_info(QWidget* parent);

    void add(const third_party_entry& entry);

    QVBoxLayout* main_layout = nullptr;
};

} // namespace ondo

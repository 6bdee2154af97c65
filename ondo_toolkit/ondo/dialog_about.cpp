#include "ondo/dialog_about.h"

#include "ondo/git_version.h"
#include "ondo/qt_compat.h"
#include "ondo/style.h"
#include "ondo/widgets.h"

#include <QApplication>
#include <QDateTime>
#include <QFile>
#include <QGridLayout>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QRegularExpression>
#include <QScreen>
#include <QTextEdit>
#include <QTextStream>
#include <QVBoxLayout>


namespace ondo {

namespace {

const QImage& logo_image()
{
    static const QImage image(QStringLiteral(":/images/logo.png"));
    return image;
}

QString link(const QString& url, const QString& text)
{
    return QString("<a style=\"color:#728a84;\" href=\"%1\">%2</a>").arg(url.toHtmlEscaped(), text.toHtmlEscaped());
}

} // namespace

dialog_about::dialog_about(QWidget* parent, bool, const QString& logo_style_sheet, int logo_background_height,
    int logo_margin)
    : QDialog(parent)
{
    QFont font("FreeSans");
    font.setPointSize(12);
    setFont(design_font(font));
    QFont bold("FreeSansBold");
    bold.setWeight(QFont::Bold);
    bold.setPointSize(14);
    bold = design_font(bold);

    setObjectName("dialog_about");
    setStyleSheet("#dialog_about{ background-color:rgb(47,47,47); }*{ color:rgb(198,213,210); }");
    setWindowTitle(tr("About"));
    setWindowFlags(windowFlags()
        & ~(Qt::WindowMinimizeButtonHint | Qt::WindowMaximizeButtonHint | Qt::WindowContextHelpButtonHint));

    main_layout = new QVBoxLayout(this);
    main_layout->setContentsMargins(0, 0, 0, 0);

    auto* logo_strip = new QWidget(this);
    logo_strip->setFixedHeight(logo_background_height);
    logo_strip->setObjectName("logobg");
    logo_strip->setStyleSheet(logo_style_sheet);
    auto* strip_layout = new QHBoxLayout(logo_strip);
    strip_layout->setContentsMargins(0, 0, 0, 0);
    strip_layout->setSpacing(0);
    auto* logo = new label(logo_strip);
    const QImage& image = logo_image();
    // A missing picture gives an empty label, not one scaled out of nothing.
    logo->setFixedSize(image.isNull() ? QSize(0, 0)
                                      : image.size().scaled(999999, logo_background_height - logo_margin,
                                                            Qt::KeepAspectRatio));
    logo->setStyleSheet("background-image:none; background-color:none;");
    logo->custom_paint = [logo](QPainter& painter) {
        painter.setRenderHint(QPainter::SmoothPixmapTransform, true);
        painter.drawImage(logo->rect(), logo_image());
    };
    strip_layout->addStretch(1);
    strip_layout->addWidget(logo);
    strip_layout->addStretch(1);
    main_layout->addWidget(logo_strip);

    auto* grid = new QGridLayout();
    grid->setContentsMargins(20, 0, 20, 0);
    grid->setColumnStretch(1, 1);
    main_layout->addLayout(grid, 1);
    auto* version_label = new QLabel(tr("Version:"), this);
    version_label->setFont(bold);
    grid->addWidget(version_label, 0, 0);
    grid->addWidget(new QLabel(QCoreApplication::applicationVersion() + QString(" - %1 Bit").arg(64), this), 0, 1);
    main_layout->addSpacing(20);
    auto* website_label = new QLabel(tr("Website:"), this);
    website_label->setFont(bold);
    grid->addWidget(website_label, 2, 0);
    website = new QLabel(QGuiApplication::applicationDisplayName().toHtmlEscaped(), this);
    website->setTextFormat(Qt::RichText);
    website->setOpenExternalLinks(true);
    grid->addWidget(website, 2, 1);

    auto* credits = new clickable_label(tr("Click here for 3rd party library information"), true, this);
    credits->setObjectName("credits");
    main_layout->addWidget(credits, 0, Qt::AlignCenter);
    connect(credits, &clickable_label::clicked, this, [this]() {
        if (third_party_action)
            third_party_action(this);
    });

    const int year = QDateTime::currentDateTimeUtc().date().year();
    auto* copyright = new QLabel(tr("Copyright © 2013-%1 The %2 developers (%3)")
                                     .arg(year)
                                     .arg(QGuiApplication::applicationDisplayName())
                                     .arg(QString::fromStdString(git_version::version())),
        this);
    copyright->setAlignment(Qt::AlignCenter);
    main_layout->addWidget(copyright, 0, Qt::AlignCenter);
    // Keeps the last line off the window's lower edge.
    main_layout->addSpacing(10);

    const QSize hint = sizeHint();
    setFixedHeight(hint.height());
    setFixedWidth(static_cast<int>(hint.width() * 1.2));
}

void dialog_about::set_website(const QString& url, const QString& text) { website->setText(link(url, text)); }

int dialog_about::exec_centered_on(QWidget* parent)
{
    QRect centred = geometry();
    centred.moveCenter(parent->geometry().center());
    // Off the screen it would be unreachable; then the window system places it.
    if (QGuiApplication::primaryScreen()->geometry().contains(centred))
        setGeometry(centred);
    setWindowModality(Qt::ApplicationModal);
    return exec();
}

void dialog_about::default_3rdparty_libs(bool exiftool, bool image_libraries)
{
    third_party_action = [exiftool, image_libraries](QWidget* parent) {
        dialog_3rd_part_lib_info info(parent);
        if (exiftool)
            info.add({"ExifTool",
                tr("This software uses ExifTool by Phil Harvey, under the terms of Perl (Artistic License or "
                   "GPL).\nhttps://exiftool.org/"),
                QString()});
        if (image_libraries) {
            info.add({"FreeImage",
                tr("FreeImage is an open source image library, used under the FreeImage Public License "
                   "(FIPL).\nhttps://freeimage.sourceforge.io/"),
                QString()});
            info.add({"Little CMS",
                tr("Little CMS is an open source colour management library, used under the MIT License.\n"
                   "https://www.littlecms.com/"),
                QString()});
        }
        info.exec();
    };
}

dialog_3rd_part_lib_info::dialog_3rd_part_lib_info(QWidget* parent) : QDialog(parent)
{
    setWindowTitle(tr("About 3rd party libraries"));
    setWindowFlags(windowFlags() & ~Qt::WindowContextHelpButtonHint);
    setStyleSheet("QDialog{background-color:rgb(47,47,47); color:rgb(198,213,210);}");
    main_layout = new QVBoxLayout(this);
    main_layout->setContentsMargins(20, 10, 20, 10);
    main_layout->setSpacing(10);
    auto* heading =
        new QLabel(tr("%1 uses the following open source and/or 3rd party libraries:")
                       .arg(QGuiApplication::applicationDisplayName()),
            this);
    heading->setStyleSheet("font-size:16px;");
    main_layout->addWidget(heading);
    // The version the program runs on, which may be newer than the one it was built with.
    add({QString("Qt ") + qVersion(),
        tr("This software links dynamically to the Qt toolkit, used under the GNU Lesser General Public License "
           "(LGPL) version 3.\nThe source code of Qt is available at https://download.qt.io/ and from the source "
           "packages of your distribution."),
        QString()});
}

void dialog_3rd_part_lib_info::add(const third_party_entry& entry)
{
    auto* row = new QVBoxLayout();
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(5);
    auto* name = new QLabel(entry.name, this);
    name->setStyleSheet("font-size:14px; font-weight:bold;");
    row->addWidget(name);
    // Plain text, with its web addresses made into links that open in the browser.
    QString html = entry.description.toHtmlEscaped();
    html.replace(QRegularExpression("(https?://[^\\s<]+)"), "<a style=\"color:#728a84;\" href=\"\\1\">\\1</a>");
    auto* description = new QLabel("<span style=\"white-space:pre-wrap;\">" + html + "</span>", this);
    description->setTextFormat(Qt::RichText);
    description->setOpenExternalLinks(true);
    description->setStyleSheet("font-size:12px;");
    row->addWidget(description);
    if (!entry.license_resource.isEmpty()) {
        auto* text = new QTextEdit(this);
        text->setReadOnly(true);
        QFile file(entry.license_resource);
        if (file.open(QIODevice::ReadOnly)) {
            QTextStream stream(&file);
            qt_compat::use_utf8(stream);
            text->setPlainText(stream.readAll());
        } else {
            text->setPlainText("Could not open license text resource at " + entry.license_resource);
        }
        row->addWidget(text);
    }
    main_layout->addLayout(row);
}

} // namespace ondo

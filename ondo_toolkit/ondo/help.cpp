#include "ondo/help.h"

#include "ondo/language.h"
#include "ondo/qt_compat.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QTextStream>
#include <QUrl>

namespace ondo {

void open_help(const QString& path_template)
{
    QString lang = get_language_suffix("lang");
    if (!QFile::exists(path_template.arg(lang)))
        lang = "en";

    QFile page(path_template.arg(lang));
    if (!page.open(QIODevice::ReadOnly)) {
        qWarning() << "Could not open help file for language" << lang << "with template" << path_template
                   << "resulting in" << page.fileName();
        return;
    }
    // Up to the first zero byte, as a C string would end.
    QString text = QString::fromUtf8(page.readAll().constData());

#ifdef Q_OS_MACOS
    // Qt's Ctrl is the Command key there.
    text.replace("Ctrl", "Cmd");
    text.replace("Strg", "Cmd");
#endif
    text.replace("StXrg", "Ctrl");
    text.replace("CtXrl", "Ctrl");

    const QString stem = QCoreApplication::applicationName().toLower().remove(' ');
    show_help_page(QDir::tempPath() + QString("/%1_help_%2.html").arg(stem, lang), text);
}

void show_help_page(const QString& path, const QString& text)
{
    QFile target(path);
    target.open(QIODevice::WriteOnly);
    QTextStream stream(&target);
    qt_compat::use_utf8(stream);
    stream << text;
    stream.flush();
    target.close();
    QDesktopServices::openUrl(QUrl(QString("file:///%1").arg(target.fileName())));
}

} // namespace ondo

#include "ondo/help.h"

#include "ondo/language.h"
#include "ondo/qt_compat.h"

#include <QApplication>
#include <QCoreApplication>
#include <QDebug>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMainWindow>
#include <QTextBrowser>
#include <QTextStream>
#include <QUrl>

namespace ondo {

namespace {

// The window the help belongs to: the main window of the active window, or any shown one.
QWidget* owner_of_help(QWidget* parent)
{
    if (parent)
        return parent;
    for (QWidget* widget = QApplication::activeWindow(); widget; widget = widget->parentWidget()) {
        if (qobject_cast<QMainWindow*>(widget))
            return widget;
    }
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (qobject_cast<QMainWindow*>(widget) && widget->isVisible())
            return widget;
    }
    return QApplication::activeWindow();
}

QTextBrowser* make_help_browser(QWidget* owner)
{
    auto* browser = new QTextBrowser(owner);
    browser->setObjectName("help_browser");
    // A window of its own that closes with the main window.
    browser->setWindowFlags(Qt::Window);
    browser->setAttribute(Qt::WA_DeleteOnClose);
    // The pages' own dark sheet is only partly understood by the text browser; the widget is dark
    // whatever the page sets.
    browser->setStyleSheet("QTextBrowser#help_browser { background-color: rgb(38, 38, 38); color: rgb(220, 220, 220);"
                           " selection-background-color: rgb(114, 138, 132); border: none; }");
    browser->resize(760, 640);
    // The pages link to each other and to the guide's PDF, which the browser can't show: pages
    // stay here, anything else goes to the desktop.
    browser->setOpenLinks(false);
    QObject::connect(browser, &QTextBrowser::anchorClicked, browser, [browser](const QUrl& link) {
        const QUrl target = browser->source().resolved(link);
        const QString path = target.path();
        if (target.isLocalFile() && (path.endsWith(".html") || path.endsWith(".htm")))
            browser->setSource(target);
        else if (!QDesktopServices::openUrl(target))
            qInfo() << "help: could not open" << target.toString();
    });
    QObject::connect(browser, &QTextBrowser::sourceChanged, browser,
        [browser] { browser->setWindowTitle(browser->documentTitle()); });
    return browser;
}

} // namespace

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

QTextBrowser* show_help_page(const QString& path, const QString& text, QWidget* parent)
{
    QFile target(path);
    target.open(QIODevice::WriteOnly);
    QTextStream stream(&target);
    qt_compat::use_utf8(stream);
    stream << text;
    stream.flush();
    target.close();

    const QUrl url = QUrl::fromLocalFile(QFileInfo(path).absoluteFilePath());
    if (QDesktopServices::openUrl(url))
        return nullptr;

    qInfo() << "help: no browser opened" << url.toString() << "- showing it in the program";
    QWidget* owner = owner_of_help(parent);
    auto* browser = owner ? owner->findChild<QTextBrowser*>("help_browser", Qt::FindDirectChildrenOnly) : nullptr;
    if (!browser)
        browser = make_help_browser(owner);
    // setSource reads the file anew even when it is the page already shown.
    if (browser->source() == url)
        browser->reload();
    else
        browser->setSource(url);
    browser->show();
    browser->raise();
    browser->activateWindow();
    return browser;
}

} // namespace ondo

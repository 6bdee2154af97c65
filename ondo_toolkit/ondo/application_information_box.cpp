#include "ondo/application_information_box.h"

#include "ondo/git_version.h"
#include "ondo/message_box.h"

#include <QCoreApplication>
#include <QShortcut>
#include <QSysInfo>

namespace ondo {

namespace {

// The compiler that built this file, which is the one that built the library.
#define ONDO_STRINGIFY_(x) #x
#define ONDO_STRINGIFY(x) ONDO_STRINGIFY_(x)
#if defined(__clang__)
const char* const compiler_line = "clang Version: \"" ONDO_STRINGIFY(__clang_major__) "." ONDO_STRINGIFY(
    __clang_minor__) "." ONDO_STRINGIFY(__clang_patchlevel__) "\"\n";
#elif defined(__GNUC__)
const char* const compiler_line = "gcc Version: \"" ONDO_STRINGIFY(__GNUC__) "." ONDO_STRINGIFY(
    __GNUC_MINOR__) "." ONDO_STRINGIFY(__GNUC_PATCHLEVEL__) "\"\n";
#elif defined(_MSC_VER)
const char* const compiler_line = "msvc Version: \"" ONDO_STRINGIFY(_MSC_FULL_VER) "\"\n";
#else
const char* const compiler_line = "unknown compiler Version: \"\"\n";
#endif

} // namespace

QString application_information_box::text(const QMap<QString, QString>& extra)
{
    // Not translated: support reads these.
    QString text = QString("OS: %1\n").arg(QSysInfo::prettyProductName());
    text += QString("ABI: %1\n").arg(QSysInfo::buildAbi());
    text += QString::fromLatin1(compiler_line);
    text += QString("\nApplication: %1\nVersion: %2\n").arg(QCoreApplication::applicationName(),
        QCoreApplication::applicationVersion());
    text += QString("Build: ") + __DATE__ + " " + __TIME__ + "\n";
    text += "\n" + QString::fromStdString(git_version::versions_formatted());
    if (!extra.isEmpty()) {
        text += "\n";
        for (auto entry = extra.cbegin(); entry != extra.cend(); ++entry)
            text += QString("%1:\t\t%2\n").arg(entry.key(), entry.value());
    }
    return text;
}

void application_information_box::install(QWidget* parent, QMap<QString, QString> extra)
{
    auto* shortcut = new QShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_G), parent);
    shortcut->setContext(Qt::ApplicationShortcut);
    QObject::connect(shortcut, &QShortcut::activated, parent, [parent, extra]() {
        message_box::information(parent, "Application Information", text(extra), QMessageBox::Ok, QMessageBox::NoButton);
    });
}

} // namespace ondo

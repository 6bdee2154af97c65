#include "drop_files_widget.h"

#include <QDir>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileInfo>
#include <QMimeData>
#include <QUrl>

drop_files_widget::drop_files_widget(QWidget* parent) : QWidget(parent) {}

QStringList drop_files_widget::expand_directory(const QString& path)
{
    const QFileInfo info(path);
    if (!info.isDir())
        return {path};
    QStringList result;
    const auto entries = QDir(info.absoluteFilePath())
                             .entryInfoList(QDir::Files | QDir::Readable | QDir::NoDot | QDir::NoDotDot,
                                            QDir::NoSort);
    for (const QFileInfo& entry : entries)
        result << entry.absoluteFilePath();
    return result;
}

QStringList drop_files_widget::regular_files(const QStringList& paths)
{
    QStringList result;
    for (const QString& path : paths)
        if (QFileInfo(path).isFile())
            result << path;
    return result;
}

void drop_files_widget::dragEnterEvent(QDragEnterEvent* event)
{
    if (event->mimeData()->hasFormat("text/uri-list"))
        event->acceptProposedAction();
}

void drop_files_widget::dropEvent(QDropEvent* event)
{
    QStringList paths;
    if (event->mimeData()->hasUrls()) {
        for (const QUrl& url : event->mimeData()->urls()) {
            if (!url.isLocalFile())
                continue;
            paths << expand_directory(url.toLocalFile());
        }
    }
    // Emitted even when empty; the load runs inside this call, so the source learns of the
    // accepted drop only once the files are in.
    emit files_dropped(regular_files(paths));
    event->acceptProposedAction();
}

#pragma once

#include <QStringList>
#include <QWidget>

class QDragEnterEvent;
class QDropEvent;

// The black drop area of the main window. Takes any regular file and the files directly inside
// a dropped directory; no extension is looked at.
class drop_files_widget : public QWidget {
    Q_OBJECT
public:
    explicit drop_files_widget(QWidget* parent = nullptr);

    // A directory becomes the readable, non-hidden files directly inside it (no recursion, in
    // the order the file system gives); any other path is kept as it is.
    static QStringList expand_directory(const QString& path);
    // Only the paths that name a regular file (after following links); missing paths fall out.
    static QStringList regular_files(const QStringList& paths);

signals:
    void files_dropped(QStringList filenames);

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
};

#pragma once

#include <ondo/exiftool.h>

#include <QByteArray>
#include <QList>
#include <QMutex>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

namespace test_support {

// Saves a small image as `dir`/`name` (format by suffix: jpg or png; TIFF needs the image-formats plugin) and sets `tags`
// ("IFD0:Make" -> "Canon") with the real ExifTool. Returns the absolute path; qFatal on failure.
QString make_tagged_photo(const QString& dir, const QString& name, const exif_tag_map& tags = {});

// Every tag of `path` as the real ExifTool reads it, keyed with group ("ExifIFD:DateTimeOriginal"),
// each value whole (split at the first "=" only).
exif_tag_map read_back(const QString& path);

// A scripted stand-in for "perl", put first on PATH for its lifetime; its end shuts the bridge down. Started as
// "perl <script> -stay_open 1 ...", it records its arguments and every byte it reads, and at each
// "-execute<id>" line prints the reply set for that id (or for "*"), then "{ready<id>}\n".
// Replies are read anew at every execute, so a test may change them between tasks.
class fake_perl {
public:
    fake_perl();
    ~fake_perl();
    fake_perl(const fake_perl&) = delete;
    fake_perl& operator=(const fake_perl&) = delete;

    // In `text`, "%id" is the task's id and "|" flushes and pauses 150 ms (to split a read).
    // With `no_marker`, the marker is left to `text` itself.
    void reply(const QString& id, const QString& text, bool no_marker = false);
    void delay(const QString& id, int ms);    // waits before replying
    void exit_after(const QString& id);       // quits after replying, as if it had crashed
    void ignore_close_and_term();             // deaf to "-stay_open\n0\n" and SIGTERM
    void make_unstartable();                  // PATH holds no perl at all

    // One list of arguments per start of the stand-in.
    QList<QStringList> starts() const;
    // Every byte read on standard input, over all starts.
    QByteArray input() const;
    // The input cut into commands at each "-execute<id>" line: the lines in front of it,
    // empty lines dropped, followed by the execute line itself.
    QList<QStringList> commands() const;

private:
    void add_rule(const QString& line);

    QTemporaryDir dir;
    QByteArray old_path;
};

// Collects the messages of the category "exiftool" (debug included) while it lives.
class log_capture {
public:
    log_capture();
    ~log_capture();
    QStringList lines() const;
    int count(const QString& part) const; // lines that contain `part`
    QString first(const QString& part) const; // the first line that contains `part`
};

} // namespace test_support

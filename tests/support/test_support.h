#pragma once

#include <ondo/exiftool.h>

#include <QtTest>
#include <QtWidgets>

#include <array>
#include <functional>
#include <tuple>

class MainWindow;

namespace test_support {

inline const QString fix_tip = "Apply changes to the timestamps of the images";
inline const QString undo_tip = "Undo the last set of timestamp changes";

// A `_data()` table's columns in one line: columns<QString, int>({"name", "count"}).
template <typename... T>
void columns(const std::array<const char*, sizeof...(T)>& names)
{
    int i = 0;
    (QTest::addColumn<T>(names[i++]), ...);
}

// A value of the current `_data()` row where it is used, for one that is used once; as with QFETCH,
// a missing column or one of another type stops the test program.
template <typename T>
T fetched(const char* column)
{
    return *static_cast<T*>(QTest::qData(column, qMetaTypeId<T>()));
}

// Several values of the current row at once: const auto [name, count] = fetched<QString, int>({"name", "count"}).
template <typename... T, typename = std::enable_if_t<(sizeof...(T) > 1)>>
std::tuple<T...> fetched(const std::array<const char*, sizeof...(T)>& columns)
{
    int i = 0;
    return {fetched<T>(columns[i++])...}; // a braced list is evaluated in order
}

// Standard output of `program` run to its end.
QString run(const QString& program, const QStringList& arguments);

// "IFD0:Make=Canon;IFD0:Model=EOS" as a map.
exif_tag_map tag_map(const QString& pairs);

// A small image saved as `dir`/`name` (jpg or png by suffix), tagged by the real ExifTool.
QString make_tagged_photo(const QString& dir, const QString& name, const exif_tag_map& tags = {});

// In "name|tags" texts "#" stands for the time test files are taken at, 2017:06:21 18:30:05, and
// "@" for it an hour later.
QString with_times(QString text);

// A file in `dir` of the family its name says, from "name|tags" (see with_times): JPEG and PNG from
// an image, HEIC by heif-enc, DNG and NEF from a small TIFF, XMP by ExifTool from nothing, AVI from
// bytes, QuickTime movies (M4A sound, CR3 photo of the same build, with empty EXIF directories) by
// hand with movie dates of 2005:08:11 14:03:54 UTC. A zoneless IPTC:TimeCreated is cut from the
// bytes; "chunk=text" puts a text behind a PNG's image. Empty on failure.
QString make_file(const QString& dir, const QString& recipe);

// `count` names beside `photo` for it, numbered from 0 in as many digits as `first` holds
// ("p000.jpg": p000.jpg, p001.jpg...): copies, or hard links when `linked`, which take no room; the
// photo itself when a name is its own. Empty on failure.
QStringList numbered_copies(const QString& photo, const QString& first, int count, bool linked = false);

// Every tag of `path`, keyed with its group.
exif_tag_map read_back(const QString& path);
QString original_time(const QString& path); // its ExifIFD:DateTimeOriginal
QByteArray contents(const QString& path);   // empty when it can't be read
bool write_file(const QString& path, const QByteArray& bytes); // false when it can't be written whole
// Gives `path` the modification time `ns` since the epoch, to the nanosecond.
bool set_modified_ns(const QString& path, qint64 ns);

// Every line of `exiftool -G1 -a -args` for `path`, sorted, but for what moves by itself: access
// and inode change times, ExifTool's own lines and the offsets of data blocks.
QStringList listing(const QString& path);

// Every tag of each file in `folder` by file name, but those that move by themselves; hidden
// names are left out, as a killed run leaves the private names of its writes until the next start.
QMap<QString, QJsonObject> listings(const QString& folder);

// Writes each file's tags (one-line values) in a single ExifTool run, far faster than a run per
// file; fatal when a file is not updated.
void tag_files(const QList<QPair<QString, exif_tag_map>>& files);

MainWindow* open_main_window();
// Drags `urls` onto the window's drop area and drops them; true when the drop was taken.
bool drop_urls(QWidget* window, const QList<QUrl>& urls);
// The button of `window` whose tool tip or text is `label`.
QPushButton* button(QWidget* window, const QString& label);

struct seen_box {
    bool answered = false;
    QString title, text;
    QStringList buttons;    // texts without mnemonics, in layout order
    QString default_button; // of a message box, if any
    bool cancelled = false; // set by the test: stop waiting for a box that isn't coming
};

// Answers the next modal dialog from a timer with a button text or "close"; `prepare` runs first.
QSharedPointer<seen_box> answer_next_box(const QString& answer, std::function<void(QDialog*)> prepare = {},
    int timeout_ms = 10000);
// Clicks the button of `tool_tip` with `answer` armed for a box that may come, which the return tells.
QSharedPointer<seen_box> click_answering(QWidget* window, const QString& tool_tip, const QString& answer);

// The program's catalogues of `language`, installed while it lives.
class installed_language {
public:
    explicit installed_language(const QString& language);
    ~installed_language();

private:
    QList<QTranslator*> translators;
};

// Collects the messages of the category "exiftool" while it lives; with `verbose` the bridge logs
// every command it writes to a child, too.
class log_capture {
public:
    explicit log_capture(bool verbose = false);
    ~log_capture();
    QStringList lines() const;
    int count(const QString& part) const { return lines().filter(part).size(); }

private:
    const bool verbose;
};

} // namespace test_support

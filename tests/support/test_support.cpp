#include "test_support.h"

#include "mainwindow.h"

#include <ondo/application.h>
#include <ondo/language.h>

#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>

namespace test_support {

namespace {

QStringList tag_arguments(const exif_tag_map& tags)
{
    QStringList arguments = {"-overwrite_original", "-m", "-charset", "filename=utf8"};
    for (const auto& [tag, value] : tags)
        arguments << QString("-%1=%2").arg(tag, value);
    return arguments;
}

// Big-endian 32-bit words, one after the other.
QByteArray be32(std::initializer_list<quint32> words)
{
    QByteArray bytes;
    for (const quint32 word : words)
        bytes.append(char(word >> 24)).append(char(word >> 16)).append(char(word >> 8)).append(char(word));
    return bytes;
}

// `path` with `tags` written into it by the real ExifTool; empty when that fails.
QString tag_file(const QString& path, const exif_tag_map& tags)
{
    if (tags.empty() || path.isEmpty())
        return path;
    return run(TAVIMO_EXIFTOOL_SCRIPT, tag_arguments(tags) << path).contains("1 image files updated") ? path : QString();
}

} // namespace

QString run(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForStarted(10000))
        qFatal("cannot start %s", qPrintable(program));
    process.waitForFinished(120000);
    return QString::fromUtf8(process.readAllStandardOutput());
}

exif_tag_map tag_map(const QString& pairs)
{
    exif_tag_map tags;
    for (const QString& pair : pairs.split(';', Qt::SkipEmptyParts))
        tags[pair.section('=', 0, 0)] = pair.section('=', 1);
    return tags;
}

QString make_tagged_photo(const QString& dir, const QString& name, const exif_tag_map& tags)
{
    const QString path = QDir(dir).absoluteFilePath(name);
    QImage image(32, 24, QImage::Format_RGB32);
    image.fill(QColor(90, 120, 150));
    if (!image.save(path) || tag_file(path, tags).isEmpty())
        qFatal("cannot save or tag %s", qPrintable(path));
    return path;
}

namespace {

// Appends a tEXt chunk behind the image data of the PNG at `path`, as some editors leave it.
void append_png_text(const QString& path, const QByteArray& keyword, const QByteArray& text)
{
    QByteArray png = contents(path);
    const int end = png.lastIndexOf("IEND") - 4; // the chunk's length field
    const QByteArray body = "tEXt" + keyword + '\0' + text;
    quint32 crc = 0xFFFFFFFFu; // the CRC-32 of PNG, over type and data
    for (const char byte : body) {
        crc ^= quint8(byte);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
    }
    crc ^= 0xFFFFFFFFu;
    png.insert(end, be32({quint32(body.size() - 4)}) + body + be32({crc}));
    if (!write_file(path, png))
        qFatal("cannot write %s", qPrintable(path));
}

QString make_tiff(const QString& dir, const QString& name)
{
    // Little-endian TIFF: the header, one directory of nine short or long entries, and 8 by 8 grey
    // pixels behind it. ExifTool takes the file's kind (DNG, NEF...) from its name.
    QByteArray bytes("II*\0\x08\0\0\0", 8);
    const quint16 entries[][3] = {{256, 3, 8}, {257, 3, 8}, {258, 3, 8}, {259, 3, 1}, {262, 3, 1},
                                  {273, 4, 122}, {277, 3, 1}, {278, 3, 8}, {279, 4, 64}};
    auto put = [&bytes](quint32 value, int size) {
        for (int i = 0; i < size; ++i)
            bytes.append(char(value >> (8 * i)));
    };
    put(9, 2);
    for (const auto& [tag, type, value] : entries) {
        put(tag, 2);
        put(type, 2);
        put(1, 4);
        put(value, 4);
    }
    put(0, 4);
    bytes.append(64, char(100));
    const QString path = QDir(dir).filePath(name);
    return write_file(path, bytes) ? path : QString();
}

// A QuickTime file of a few hundred bytes: its movie, its one sound track and that track's media all
// created and modified at `utc`; `brand` is the file type ("qt  ", "M4A ", "crx ").
QString make_movie(const QString& dir, const QString& name, const QByteArray& brand, const QDateTime& utc)
{
    auto atom = [](const char* type, const QByteArray& body) { return be32({quint32(body.size() + 8)}) + type + body; };
    // QuickTime counts seconds from 1904, in UTC.
    const quint32 when = quint32(QDateTime(QDate(1904, 1, 1), QTime(0, 0), Qt::UTC).secsTo(utc));
    const QByteArray matrix = be32({0x10000, 0, 0, 0, 0x10000, 0, 0, 0, 0x40000000});
    const QByteArray mvhd = atom("mvhd", be32({0, when, when, 600, 0, 0x10000}) + QByteArray("\x01", 1)
        + QByteArray(11, '\0') + matrix + QByteArray(24, '\0') + be32({2}));
    const QByteArray tkhd = atom("tkhd", be32({0xf, when, when, 1, 0, 0, 0, 0, 0, 0}) + matrix + be32({0, 0}));
    const QByteArray mdhd = atom("mdhd", be32({0, when, when, 600, 0, 0}));
    const QByteArray hdlr = atom("hdlr", be32({0}) + "mhlrsoun" + QByteArray(13, '\0'));
    QByteArray canon;
    if (brand == "crx ") { // a raw photo of the same build, with empty EXIF directories to write into
        const QByteArray tiff("II*\0\x08\0\0\0\0\0\0\0\0\0", 14);
        canon = atom("uuid", QByteArray::fromHex("85c0b687820f11e08111f4ce462b6a48")
            + atom("CNCV", "CanonCR3_001/00.10.00/00.00.00") + atom("CMT1", tiff) + atom("CMT2", tiff));
    }
    const QByteArray moov = atom("moov", canon + mvhd + atom("trak", tkhd + atom("mdia", mdhd + hdlr)));
    const QByteArray bytes = atom("ftyp", brand + be32({0}) + brand) + moov + atom("mdat", {});

    const QString path = QDir(dir).absoluteFilePath(name);
    if (!write_file(path, bytes))
        qFatal("cannot write %s", qPrintable(path));
    return path;
}

} // namespace

QString with_times(QString text)
{
    return text.replace("#", "2017:06:21 18:30:05").replace("@", "2017:06:21 19:30:05");
}

QString make_file(const QString& dir, const QString& recipe)
{
    const QString name = recipe.section('|', 0, 0), tags = with_times(recipe.section('|', 1));
    exif_tag_map map = tag_map(tags);
    const QString chunk = map.count("chunk") ? map.at("chunk") : QString();
    map.erase("chunk");
    // ExifTool writes IPTC:TimeCreated only with a zone; a zoneless one has it cut from its bytes.
    const QRegularExpressionMatch zoneless = QRegularExpression("IPTC:TimeCreated=([0-9:]+)(;|$)").match(tags);
    if (zoneless.hasMatch())
        map["IPTC:TimeCreated"] += "+00:00";
    auto is = [&name](const char* suffix) { return name.endsWith(suffix, Qt::CaseInsensitive); };
    QString path = QDir(dir).filePath(name);
    if (is(".jpg") || is(".png")) {
        path = make_tagged_photo(dir, name);
    } else if (is(".heic")) {
        if (QStandardPaths::findExecutable("heif-enc").isEmpty())
            return QString();
        run(QStandardPaths::findExecutable("heif-enc"), {"-q", "50", make_tagged_photo(dir, "h.png"), "-o", path});
    } else if (is(".dng") || is(".nef")) {
        path = make_tiff(dir, name);
    } else if (is(".xmp")) {
        run(TAVIMO_EXIFTOOL_SCRIPT, tag_arguments(map).mid(1) << "-o" << path); // no original to overwrite
        return QFileInfo(path).isFile() ? path : QString();
    } else if (is(".avi")) {
        const qint64 taken = QDateTime(QDate(2017, 6, 21), QTime(18, 30, 5)).toMSecsSinceEpoch() * 1000000;
        if (!write_file(path, QByteArray("RIFF\x10\0\0\0AVI LIST\x04\0\0\0hdrl", 24)) || !set_modified_ns(path, taken))
            return QString();
    } else {
        const QByteArray brand = is(".cr3") ? "crx " : is(".m4a") ? "M4A " : "qt  ";
        path = make_movie(dir, name, brand, QDateTime(QDate(2005, 8, 11), QTime(14, 3, 54), Qt::UTC));
    }
    path = tag_file(path, map);
    if (zoneless.hasMatch()) {
        const QByteArray time = zoneless.captured(1).remove(':').toLatin1();
        write_file(path, contents(path).replace(time + "+0000", time + QByteArray(5, '\0')));
    }
    if (!chunk.isEmpty())
        append_png_text(path, "Comment", chunk.toLatin1());
    return path;
}

QStringList numbered_copies(const QString& photo, const QString& first, int count, bool linked)
{
    const QRegularExpressionMatch digits = QRegularExpression("([0-9]+)([^0-9]*)$").match(first);
    const QFileInfo original(photo);
    QStringList paths;
    for (int i = 0; i < count; ++i) {
        const QString number = QString("%1").arg(i, digits.capturedLength(1), 10, QLatin1Char('0'));
        paths << original.absolutePath() + "/" + first.left(digits.capturedStart(1)) + number + digits.captured(2);
        if (paths.last() == original.absoluteFilePath())
            continue;
        if (linked ? ::link(QFile::encodeName(photo).constData(), QFile::encodeName(paths.last()).constData()) != 0
                   : !QFile::copy(photo, paths.last()))
            return {};
    }
    return paths;
}

exif_tag_map read_back(const QString& path)
{
    exif_tag_map tags;
    const QString out = run(TAVIMO_EXIFTOOL_SCRIPT, {"-G1", "-a", "-args", "-charset", "filename=utf8", path});
    for (const QString& line : out.split('\n', Qt::SkipEmptyParts)) {
        const int equals = line.indexOf('=');
        if (line.startsWith('-') && equals > 0)
            tags[line.mid(1, equals - 1)] = line.mid(equals + 1);
    }
    return tags;
}

QString original_time(const QString& path)
{
    return read_back(path)["ExifIFD:DateTimeOriginal"];
}

QByteArray contents(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool write_file(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

bool set_modified_ns(const QString& path, qint64 ns)
{
    const qint64 second = ns >= 0 ? ns / 1000000000 : -((-ns - 1) / 1000000000) - 1;
    struct timespec times[2] {};
    times[0].tv_nsec = UTIME_OMIT;
    times[1].tv_sec = time_t(second);
    times[1].tv_nsec = long(ns - second * 1000000000);
    return ::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, 0) == 0;
}

QStringList listing(const QString& path)
{
    static const QRegularExpression kept("^(?!-(System:File(Access|InodeChange)Date|ExifTool:[A-Za-z]+)=|"
                                         "-[^=]*(Offset|Start)=)");
    QStringList lines = run(TAVIMO_EXIFTOOL_SCRIPT, {"-G1", "-a", "-args", "-charset", "filename=utf8", path})
                            .split('\n', Qt::SkipEmptyParts).filter(kept);
    lines.sort(); // whole lines: ExifTool may store a HEIC's image properties in another order
    return lines;
}

QMap<QString, QJsonObject> listings(const QString& folder)
{
    QMap<QString, QJsonObject> result;
    const QByteArray json =
        run(TAVIMO_EXIFTOOL_SCRIPT, {"-G1", "-a", "-j", "-i", "HIDDEN", "-charset", "filename=utf8", folder}).toUtf8();
    for (const QJsonValue& file : QJsonDocument::fromJson(json).array()) {
        QJsonObject tags = file.toObject();
        for (const char* moving : {"System:FileAccessDate", "System:FileInodeChangeDate", "ExifTool:ExifToolVersion"})
            tags.remove(moving);
        result.insert(QFileInfo(tags.value("SourceFile").toString()).fileName(), tags);
    }
    return result;
}

void tag_files(const QList<QPair<QString, exif_tag_map>>& files)
{
    // An argument file of one block per file, each ended by -execute.
    QTemporaryFile arguments;
    if (!arguments.open())
        qFatal("cannot write an argument file");
    for (const auto& [path, tags] : files)
        arguments.write((tag_arguments(tags) << path << "-execute").join('\n').toUtf8() + '\n');
    arguments.close();
    const QString out = run(TAVIMO_EXIFTOOL_SCRIPT, {"-@", arguments.fileName()});
    if (out.count("1 image files updated") != files.size())
        qFatal("exiftool could not tag every file: %s", qPrintable(out));
}

MainWindow* open_main_window()
{
    auto* window = new MainWindow();
    static_cast<ondo::application<MainWindow>*>(qApp)->main_window = window;
    window->show();
    if (!QTest::qWaitForWindowExposed(window))
        qWarning("the main window was not exposed");
    return window;
}

bool drop_urls(QWidget* window, const QList<QUrl>& urls)
{
    QWidget* area = window->findChild<QWidget*>("widget_dropper");
    const QPoint centre = area->rect().center();
    QMimeData mime;
    mime.setUrls(urls);
    QDragEnterEvent enter(centre, Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(area, &enter);
    QDropEvent drop(centre, Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(area, &drop);
    return enter.isAccepted() && drop.isAccepted();
}

QPushButton* button(QWidget* window, const QString& label)
{
    for (QPushButton* candidate : window->findChildren<QPushButton*>())
        if (candidate->toolTip() == label || candidate->text() == label)
            return candidate;
    return nullptr;
}

namespace {

QString plain(QString text) { return text.remove('&'); }

void answer(QDialog* dialog, const QString& wanted, seen_box& seen)
{
    seen.title = dialog->windowTitle();
    if (auto* box = qobject_cast<QMessageBox*>(dialog)) {
        seen.text = box->text();
        seen.default_button = box->defaultButton() ? plain(box->defaultButton()->text()) : QString();
    }
    QAbstractButton* chosen = nullptr;
    for (QAbstractButton* b : dialog->findChildren<QAbstractButton*>()) {
        if (!b->isVisible())
            continue;
        seen.buttons << plain(b->text());
        if (!chosen && plain(b->text()) == wanted)
            chosen = b;
    }
    seen.answered = true;
    if (chosen && wanted != "close")
        return chosen->click();
    if (wanted != "close")
        qWarning("answer_next_box: no button \"%s\" among %s", qPrintable(wanted), qPrintable(seen.buttons.join(", ")));
    dialog->close();
}

// A standard mutex, so that ThreadSanitizer sees the worker thread's messages handed over.
std::mutex capture_mutex;
QStringList captured;
QtMessageHandler previous_handler = nullptr;
int capture_depth = 0;

// The worker thread may log while the capture goes, so the next handler is read under the lock.
void capture(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    QtMessageHandler next = nullptr;
    {
        std::lock_guard<std::mutex> lock(capture_mutex);
        // ExifTool's lines and the program's own: the runs' lines in the log.
        if (context.category && (QByteArray(context.category) == "exiftool" || QByteArray(context.category) == "default"))
            captured << message;
        next = previous_handler;
    }
    // QtTest's handler reads the running test's data, which its own thread may be replacing.
    if (QThread::currentThread() != QCoreApplication::instance()->thread())
        std::fprintf(stderr, "%s\n", qPrintable(qFormatLogMessage(type, context, message)));
    else if (next)
        next(type, context, message);
}

} // namespace

QSharedPointer<seen_box> answer_next_box(const QString& wanted, std::function<void(QDialog*)> prepare, int timeout_ms)
{
    auto seen = QSharedPointer<seen_box>::create();
    auto* timer = new QTimer(qApp);
    auto clock = std::make_shared<QElapsedTimer>();
    clock->start();
    // A modal dialog that was already up when the call was made isn't the one meant.
    QPointer<QWidget> before = QApplication::activeModalWidget();
    QObject::connect(timer, &QTimer::timeout, timer, [=]() {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        const bool found = dialog && dialog != before && dialog->isVisible();
        if (!seen->cancelled && !found && clock->elapsed() <= timeout_ms)
            return;
        timer->stop();
        timer->deleteLater();
        if (seen->cancelled)
            return;
        if (!found)
            return qWarning("answer_next_box: no dialog came up within %d ms", timeout_ms);
        if (prepare)
            prepare(dialog);
        answer(dialog, wanted, seen.operator*());
    });
    timer->start(10);
    return seen;
}

QSharedPointer<seen_box> click_answering(QWidget* window, const QString& tool_tip, const QString& answer)
{
    const auto seen = answer_next_box(answer);
    button(window, tool_tip)->click();
    seen->cancelled = true;
    return seen;
}

installed_language::installed_language(const QString& language) : translators(ondo::install_translators(language)) {}

installed_language::~installed_language()
{
    for (QTranslator* translator : translators)
        QCoreApplication::removeTranslator(translator);
}

log_capture::log_capture(bool verbose) : verbose(verbose)
{
    if (verbose)
        ondo::exiftool::verbose(true);
    QLoggingCategory::setFilterRules("exiftool.debug=true");
    std::lock_guard<std::mutex> lock(capture_mutex);
    // A capture inside another (a helper's inside a test's) adds to what the outer one holds.
    if (capture_depth++ > 0)
        return;
    captured.clear();
    previous_handler = qInstallMessageHandler(capture);
}

log_capture::~log_capture()
{
    if (verbose)
        ondo::exiftool::verbose(false);
    std::lock_guard<std::mutex> lock(capture_mutex);
    if (--capture_depth > 0)
        return;
    QLoggingCategory::setFilterRules("exiftool.debug=false");
    qInstallMessageHandler(previous_handler);
}

QStringList log_capture::lines() const
{
    std::lock_guard<std::mutex> lock(capture_mutex);
    return captured;
}

} // namespace test_support

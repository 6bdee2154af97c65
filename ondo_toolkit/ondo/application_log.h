#pragma once

#include "ondo/qt_compat.h"

#include <QMap>
#include <QObject>
#include <QString>
#include <QTimer>

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <ostream>
#include <sstream>
#include <streambuf>

class QHostAddress;
class QLineEdit;
class QPushButton;
class QTabWidget;
class QTextEdit;
class QWidget;

namespace ondo {

// Sits on a standard stream in place of its buffer and hands every batch to two sinks: first
// `copy_to`, then the stream's own earlier buffer. A batch ends when 1022 characters have
// gathered or the stream is flushed. Any thread may write: the shared lock covers the batch
// buffer and the copy, so bytes of concurrent writers are neither lost nor torn apart.
template <class Char, class Traits = std::char_traits<Char>>
class copy_streambuf : public std::basic_streambuf<Char, Traits> {
public:
    using int_type = typename Traits::int_type;

    copy_streambuf(std::basic_ostream<Char, Traits>& stream, std::basic_ostream<Char, Traits>& copy_to, std::mutex& lock)
        : previous(stream.rdbuf()), stream(&stream), copy_to(&copy_to), lock(&lock)
    {
        stream.rdbuf(this);
        stream.clear();
    }
    ~copy_streambuf() override
    {
        // What is still gathered is dropped, not flushed.
        stream->rdbuf(previous);
        stream->clear();
    }
    copy_streambuf(const copy_streambuf&) = delete;
    copy_streambuf& operator=(const copy_streambuf&) = delete;

protected:
    // No put area is handed to the stream: its inline pointer arithmetic would run unlocked.
    // Every write comes here or to xsputn instead.
    int_type overflow(int_type c) override
    {
        std::lock_guard<std::mutex> guard(*lock);
        if (!Traits::eq_int_type(c, Traits::eof())) {
            put_locked(Traits::to_char_type(c));
            return c;
        }
        write_batch_locked();
        return 0; // EOF asked for a flush only
    }
    std::streamsize xsputn(const Char* text, std::streamsize count) override
    {
        std::lock_guard<std::mutex> guard(*lock);
        for (std::streamsize i = 0; i < count; ++i)
            put_locked(text[i]);
        return count;
    }
    int sync() override
    {
        return Traits::eq_int_type(overflow(Traits::eof()), Traits::eof()) ? -1 : 0;
    }

private:
    static constexpr int size = 1024;
    // Two places stay free: one for a character that arrives on a full batch, one for the NUL.
    static constexpr int capacity = size - 2;

    void put_locked(Char c)
    {
        buffer[used++] = c;
        if (used == capacity + 1)
            write_batch_locked();
    }
    void write_batch_locked()
    {
        buffer[used] = Char();
        used = 0;
        // The batch goes on as a C string: whatever follows an embedded NUL in it is dropped.
        const std::streamsize length = static_cast<std::streamsize>(Traits::length(buffer));
        copy_to->write(buffer, length);
        // The earlier buffer is written directly rather than swapped back into the stream, so
        // that a writer on another thread never sees the stream without its tap.
        previous->sputn(buffer, length);
        previous->pubsync();
    }

    Char buffer[size];
    int used = 0;
    std::basic_streambuf<Char, Traits>* previous;
    std::basic_ostream<Char, Traits>* stream;
    std::basic_ostream<Char, Traits>* copy_to;
    std::mutex* lock;
};

// The process-wide log: copies everything written to std::cout and std::cerr and shows it in
// an ordinary window with a filter, a small command line, a network report and saving to the
// desktop. The window is reached only by the shortcuts of install_log_shortcuts.
class application_log : public QObject {
    Q_OBJECT
public:
    // Creates the one log with `parent` and taps the streams; later calls do nothing.
    static void init(QObject* parent);
    // Null before init and after the log is gone.
    static application_log* instance();

    ~application_log() override;

    Q_INVOKABLE void add_data(QString name, QString data);
    // `name` is stored in lower case; an existing command of that name is kept. A command runs
    // when the filter line starts with its name and Return is pressed; it gets the rest.
    void add_command(QString name, std::function<void(const QString&)> function, bool hidden);

public slots:
    void open_log_window();
    // Writes the report to the desktop and returns its path; on failure an empty string, after
    // the user has been warned.
    QString save_log();

private:
    struct log_tab {
        QString name;
        QTextEdit* edit = nullptr;
        QString text; // the whole page, unfiltered
        int index = -1;
    };
    struct log_command {
        std::function<void(const QString&)> function;
        bool hidden = false;
    };

    explicit application_log(QObject* parent);
    void install();
    void drain();
    log_tab& tab_for(const QString& name);
    QString filtered(const QString& text) const;
    void refilter(int index);
    void run_command();
    void on_save_clicked();
    void show_network_report();
    void clear_logs();
    QString network_report() const;

    QWidget* window = nullptr;
    QLineEdit* filter_edit = nullptr;
    QPushButton* save_button = nullptr;
    QPushButton* clear_button = nullptr;
    QPushButton* network_button = nullptr;
    QTabWidget* tabs = nullptr;
    // Guards `capture` and both taps' batches against writers on any thread; declared first so
    // that it outlives both.
    std::mutex capture_lock;
    std::ostringstream capture;
    QTimer poll_timer;
    bool installed = false;
    std::unique_ptr<copy_streambuf<char, std::char_traits<char>>> cout_copy;
    std::unique_ptr<copy_streambuf<char, std::char_traits<char>>> cerr_copy;
    QMap<QString, log_tab> log_tabs;
    std::map<QString, log_command> commands;
    // Keeps a character whose UTF-8 bytes were split between two drains whole.
    qt_compat::utf8_decoder decoder;
    // Whether the window has been given its place on the screen.
    bool placed = false;
};

// The log is sent to others for support, so the network report names the machine only roughly:
// a hardware address keeps its first three bytes (the maker), an IPv4 address its first two
// numbers and an IPv6 address its first two groups; the rest reads "xx" or "x". Loopback
// addresses stay whole. Text that isn't a hardware address is returned as it is.
QString masked_hardware_address(const QString& address);
QString masked_ip_address(const QHostAddress& address);

// Ctrl+Shift+L and Ctrl+Shift+R on `owner` (Command on macOS) both open the log window.
// Does nothing without a log.
void install_log_shortcuts(application_log* log, QWidget* owner);

} // namespace ondo

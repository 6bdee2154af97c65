#include "ondo/application_log.h"

#include "ondo/message_box.h"
#include "ondo/style.h"

#include <QApplication>
#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QGridLayout>
#include <QGuiApplication>
#include <QHostAddress>
#include <QIcon>
#include <QLineEdit>
#include <QNetworkInterface>
#include <QPointer>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QShortcut>
#include <QStandardPaths>
#include <QTabWidget>
#include <QTextEdit>

#include <iostream>

namespace ondo {

namespace {

QPointer<application_log>& instance_pointer()
{
    static QPointer<application_log> pointer;
    return pointer;
}

const QString separator(80, '-');

// The log and its report are dark like the rest of the program.
const QString window_sheet = QStringLiteral(
    "QWidget#application_log, QTextEdit#network_report { background-color: rgb(47,47,47); }"
    "QWidget { color: rgb(198,213,210); }"
    "QTextEdit { background-color: rgb(38,38,38); border: 1px solid rgb(99,99,99);"
    " selection-background-color: rgb(198,213,210); selection-color: #000; }"
    "QTextEdit#network_report { border: none; }"
    "QLineEdit { background-color: rgb(38,38,38); border: 1px solid rgb(99,99,99); padding: 2px;"
    " selection-background-color: rgb(198,213,210); selection-color: #000; }"
    "QPushButton { background-color: rgb(47,47,47); padding: 0.5ex 0.75em 0.25ex 0.75em; border-style: none;"
    " border-width: 3px; border-image: url(:/gui/button/dark_normal.png) 3 stretch; }"
    "QPushButton::pressed { border-image: url(:/gui/button/dark_pressed.png) 3 stretch; }"
    "QPushButton::hover { color: #f0f0f0; }"
    "QTabWidget::pane { border: none; }"
    "QTabBar::tab { background-color: rgb(47,47,47); padding: 4px 12px; border: 1px solid rgb(99,99,99); }"
    "QTabBar::tab:selected { background-color: rgb(68,68,68); }"
    "QToolTip { color: rgb(198,213,210); background-color: rgb(47,47,47); border: 1px solid rgb(99,99,99); }");

// Gives `window` the inner `size`, as far as the screen allows, and puts it, frame and all,
// centred over `over` (or the screen) and wholly inside the screen's free area. The frame is
// unknown until the window manager has drawn it, so room for a title bar and borders is kept.
void place_on_screen(QWidget* window, QSize size, const QWidget* over)
{
    QScreen* screen = over ? over->screen() : QGuiApplication::primaryScreen();
    const QRect area = screen->availableGeometry();
    const QMargins frame(8, 32, 8, 8);
    size = size.boundedTo(area.marginsRemoved(frame).size());
    QRect outer(QPoint(), size.grownBy(frame));
    outer.moveCenter(over ? over->frameGeometry().center() : area.center());
    outer.moveLeft(qBound(area.left(), outer.left(), area.right() + 1 - outer.width()));
    outer.moveTop(qBound(area.top(), outer.top(), area.bottom() + 1 - outer.height()));
    window->resize(size);
    // A window's position is that of its frame.
    window->move(outer.topLeft());
}

void scroll_to_end(QTextEdit* edit) { edit->verticalScrollBar()->setValue(edit->verticalScrollBar()->maximum()); }

// Plain text on purpose: a log line that looks like markup must show as it was written.
void append_plain(QTextEdit* edit, const QString& data)
{
    QTextCursor cursor(edit->document());
    cursor.movePosition(QTextCursor::End);
    cursor.insertText(data);
}

} // namespace

void application_log::init(QObject* parent)
{
    if (instance_pointer())
        return;
    auto* log = new application_log(parent);
    instance_pointer() = log;
    log->install();
}

application_log* application_log::instance() { return instance_pointer(); }

application_log::application_log(QObject* parent)
    : QObject(parent), poll_timer(this)
{
    poll_timer.setInterval(100);
    connect(&poll_timer, &QTimer::timeout, this, &application_log::drain);
    poll_timer.start();

    window = new QWidget();
    window->setObjectName("application_log");
    window->setStyleSheet(window_sheet);
    window->resize(800, 300);
    window->setWindowTitle(tr("Application Log"));
    // Closing the log never ends the program, and an open log doesn't keep it running.
    window->setAttribute(Qt::WA_QuitOnClose, false);
    auto* layout = new QGridLayout(window);

    filter_edit = new QLineEdit(window);
    filter_edit->setPlaceholderText("Filter...");
    filter_edit->setClearButtonEnabled(true);
    layout->addWidget(filter_edit, 0, 0);
    save_button = new QPushButton(QIcon::fromTheme("document-save"), tr("Save to disk"), window);
    layout->addWidget(save_button, 0, 2);
    clear_button = new QPushButton(QIcon::fromTheme("edit-delete"), tr("Clear log"), window);
    layout->addWidget(clear_button, 0, 3);
    network_button = new QPushButton(tr("Network report"), window);
    layout->addWidget(network_button, 0, 4);
    tabs = new QTabWidget(window);
    tabs->setTabBarAutoHide(true);
    layout->addWidget(tabs, 1, 0, 1, 5);

    connect(filter_edit, &QLineEdit::textChanged, this, [this]() {
        if (tabs->currentIndex() != -1)
            refilter(tabs->currentIndex());
    });
    connect(filter_edit, &QLineEdit::returnPressed, this, &application_log::run_command);
    connect(save_button, &QPushButton::clicked, this, &application_log::on_save_clicked);
    connect(clear_button, &QPushButton::clicked, this, &application_log::clear_logs);
    connect(network_button, &QPushButton::clicked, this, &application_log::show_network_report);
    connect(tabs, &QTabWidget::currentChanged, this, &application_log::refilter);

    tab_for(QCoreApplication::applicationName());
}

application_log::~application_log()
{
    if (installed) {
        cout_copy.reset();
        cerr_copy.reset();
        window->close();
        poll_timer.stop();
    }
    // Not deleted here: the log goes with the application object, after which a widget can no
    // longer be destroyed safely.
    window->deleteLater();
}

void application_log::install()
{
    static bool any_installed = false;
    if (installed || any_installed)
        return;
    installed = any_installed = true;
    cout_copy = std::make_unique<copy_streambuf<char>>(std::cout, capture, capture_lock);
    cerr_copy = std::make_unique<copy_streambuf<char>>(std::cerr, capture, capture_lock);

    // The buttons' work is also a command, so that it can be done from the keyboard.
    add_command("save", [this](const QString&) { on_save_clicked(); }, false);
    add_command("clear", [this](const QString&) { clear_logs(); }, false);
    add_command("network", [this](const QString&) { show_network_report(); }, false);
    // Every command, the hidden ones too: help is where a user learns what there is.
    add_command("help", [this](const QString&) {
        std::cout << "List of commands:" << std::endl;
        for (const auto& [name, command] : commands)
            std::cout << "    " << name.toUtf8().constData() << std::endl;
    }, false);
}

void application_log::add_command(QString name, std::function<void(const QString&)> function, bool hidden)
{
    commands.emplace(name.toLower(), log_command{std::move(function), hidden});
}

void application_log::open_log_window()
{
    if (window->isVisible()) {
        window->activateWindow();
        return;
    }
    // The first time over the window it was called from; later where the user left it.
    if (!placed) {
        QWidget* over = QApplication::activeWindow();
        place_on_screen(window, window->size(), over == window ? nullptr : over);
        placed = true;
    }
    window->show();
}

// Nothing reaches the widgets before the window has been shown once: until then the text
// waits in `capture`, however much there is.
void application_log::drain()
{
    if (!window->isVisible())
        return;
    std::string bytes;
    {
        std::lock_guard<std::mutex> guard(capture_lock);
        bytes = capture.str();
        capture.str(std::string());
    }
    const QString text = decoder.decode(bytes.data(), static_cast<qsizetype>(bytes.size()));
    if (!text.isEmpty())
        add_data(QCoreApplication::applicationName(), text);
}

void application_log::add_data(QString name, QString data)
{
    log_tab& tab = tab_for(name);
    tab.text += data;
    if (!filter_edit->text().isEmpty())
        tab.edit->setPlainText(filtered(tab.text));
    else
        append_plain(tab.edit, data);
    // A reader who has clicked into the page keeps their place.
    if (!tab.edit->hasFocus())
        scroll_to_end(tab.edit);
}

application_log::log_tab& application_log::tab_for(const QString& name)
{
    auto found = log_tabs.find(name);
    if (found != log_tabs.end())
        return found.value();
    log_tab& tab = log_tabs[name];
    tab.name = name;
    tab.edit = new QTextEdit(window);
    tab.edit->setReadOnly(true);
    style_scrollbars(tab.edit);
    tab.index = tabs->addTab(tab.edit, name);
    return tab;
}

QString application_log::filtered(const QString& text) const
{
    const QString filter = filter_edit->text();
    if (filter.isEmpty())
        return text;
    QString kept;
    for (const QString& line : text.split('\n', Qt::SkipEmptyParts))
        if (line.contains(filter, Qt::CaseInsensitive))
            kept += line + '\n';
    return kept;
}

void application_log::refilter(int index)
{
    QWidget* page = tabs->widget(index);
    for (log_tab& tab : log_tabs) {
        if (tab.edit != page)
            continue;
        tab.edit->setPlainText(filtered(tab.text));
        scroll_to_end(tab.edit);
    }
}

// The filter line doubles as a command line: Return runs the command with the longest name
// that the lowered text starts with, and hands it the rest of the text as typed.
void application_log::run_command()
{
    if (tabs->currentIndex() == -1)
        return;
    const QString text = filter_edit->text();
    const QString lowered = text.toLower();
    const log_command* chosen = nullptr;
    int chosen_length = -1;
    for (const auto& [name, command] : commands) {
        if (lowered.startsWith(name) && name.length() > chosen_length) {
            chosen = &command;
            chosen_length = name.length();
        }
    }
    if (!chosen)
        return;
    chosen->function(text.mid(chosen_length));
    filter_edit->clear();
}

QString application_log::network_report() const
{
    static const QList<QPair<QNetworkInterface::InterfaceFlag, QString>> flag_names = {
        {QNetworkInterface::IsUp, "IsUp"},
        {QNetworkInterface::IsRunning, "IsRunning"},
        {QNetworkInterface::CanBroadcast, "CanBroadcast"},
        {QNetworkInterface::IsLoopBack, "IsLoopBack"},
        {QNetworkInterface::IsPointToPoint, "IsPointToPoint"},
        {QNetworkInterface::CanMulticast, "CanMulticast"},
    };
    QString report;
    for (const QNetworkInterface& interface : QNetworkInterface::allInterfaces()) {
        report += "Interface: " + interface.name() + " (" + interface.humanReadableName() + ") HW: "
            + masked_hardware_address(interface.hardwareAddress()) + "\n";
        QStringList flags;
        for (const auto& [flag, flag_name] : flag_names)
            if (interface.flags().testFlag(flag))
                flags << flag_name;
        report += "\t" + flags.join('|') + "\n";
        for (const QNetworkAddressEntry& entry : interface.addressEntries())
            report += "\tAddress: " + masked_ip_address(entry.ip()) + "/" + QString::number(entry.prefixLength()) + "\n";
    }
    return report;
}

QString application_log::save_log()
{
    const QString application = QCoreApplication::applicationName();
    // Dots between the parts of the time: a colon is not allowed in names on every system.
    const QString file_name =
        application + " Log " + QDateTime::currentDateTime().toString("yyyy-MM-dd hh.mm.ss") + ".log";

    QString report = "Application: " + application + " (" + QCoreApplication::applicationVersion() + ")\n";
    report += "Installed at: " + QCoreApplication::applicationDirPath() + "\n";
    report += "Date: " + QDateTime::currentDateTime().toString(Qt::TextDate) + "\n";
    report += separator + "\n";
    report += network_report();
    report += separator + "\n\n";
    report += tab_for(application).text;
    for (auto tab = log_tabs.cbegin(); tab != log_tabs.cend(); ++tab)
        if (tab.key() != application)
            report += "\n\n" + separator + "\nApplication: " + tab.key() + "\n" + tab->text;

    const QString desktop = QStandardPaths::writableLocation(QStandardPaths::DesktopLocation);
    // A system without a desktop folder gets one rather than a failed save.
    QDir().mkpath(desktop);
    const QString path = desktop + "/" + file_name;
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text)) {
        message_box::warning(window, tr("Failed to save application logs"),
            tr("Can't save the application logs to\n%1\n\nYou might not have write permission or the disk might be full.")
                .arg(file_name),
            QMessageBox::Ok);
        return QString();
    }
    const QByteArray bytes = report.toUtf8();
    const qint64 written = file.write(bytes);
    if (written < bytes.size()) {
        message_box::warning(window, tr("Failed to save application logs"),
            tr("Failed to write the complete application logs to\n%1\n\nCould only write %2/%3 bytes. The disk might be full.")
                .arg(file_name)
                .arg(written)
                .arg(bytes.size()),
            QMessageBox::Ok);
    }
    if (!file.flush())
        qDebug("Failed to flush logfile QFile instance.");
    file.close();
    return file.fileName();
}

void application_log::on_save_clicked()
{
    const QString path = save_log();
    if (path.isEmpty())
        return;
    message_box::information(window, tr("Application logs saved"), tr("The application logs were saved to\n%1").arg(path),
        QMessageBox::Ok);
}

void application_log::show_network_report()
{
    // A window of its own over the log, dark like it, and as large as its text.
    auto* report = new QTextEdit(window);
    report->setWindowFlags(Qt::Window);
    report->setObjectName("network_report");
    report->setStyleSheet(window_sheet);
    report->setReadOnly(true);
    report->setWindowTitle(tr("Network report"));
    report->setWindowModality(Qt::ApplicationModal);
    report->setAttribute(Qt::WA_DeleteOnClose);
    report->setWordWrapMode(QTextOption::NoWrap);
    QFont font("monospace");
    font.setStyleHint(QFont::Monospace);
    report->setFont(font);
    style_scrollbars(report);
    const QString text = network_report();
    report->setPlainText(text);

    const QFontMetrics metrics(font);
    int widest = 0;
    const QStringList lines = text.split('\n');
    for (const QString& line : lines)
        widest = qMax(widest, metrics.horizontalAdvance(line));
    // The document's margin on both sides, the frame, and a scroll bar's width to spare.
    const int extra = 2 * int(report->document()->documentMargin()) + 2 * report->frameWidth() + 16;
    report->setMinimumSize(240, 120);
    place_on_screen(report, QSize(widest + extra, lines.size() * metrics.lineSpacing() + extra), window);
    report->show();
}

// Pages stay, and text that hasn't been drained yet appears at the next drain.
void application_log::clear_logs()
{
    if (message_box::question(window, tr("Clear application logs"), tr("Do you really want to clear the application logs?"),
            QMessageBox::Yes | QMessageBox::No)
        != QMessageBox::Yes)
        return;
    for (log_tab& tab : log_tabs) {
        tab.text.clear();
        tab.edit->clear();
    }
}

QString masked_hardware_address(const QString& address)
{
    const QStringList bytes = address.split(':');
    if (bytes.size() < 4)
        return address;
    QStringList masked = bytes.mid(0, 3);
    for (int i = 3; i < bytes.size(); ++i)
        masked << "xx";
    return masked.join(':');
}

QString masked_ip_address(const QHostAddress& address)
{
    if (address.isLoopback() || address.isNull())
        return address.toString();
    if (address.protocol() == QAbstractSocket::IPv4Protocol) {
        const quint32 ipv4 = address.toIPv4Address();
        return QString("%1.%2.x.x").arg(ipv4 >> 24).arg((ipv4 >> 16) & 0xFF);
    }
    const Q_IPV6ADDR ipv6 = address.toIPv6Address();
    QStringList groups;
    for (int i = 0; i < 2; ++i)
        groups << QString::number((ipv6[2 * i] << 8) | ipv6[2 * i + 1], 16);
    for (int i = 2; i < 8; ++i)
        groups << "x";
    return groups.join(':');
}

void install_log_shortcuts(application_log* log, QWidget* owner)
{
    if (!log)
        return;
    for (const int key : {Qt::Key_L, Qt::Key_R}) {
        auto* shortcut = new QShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | key), owner);
        shortcut->setContext(Qt::WindowShortcut);
        QObject::connect(shortcut, &QShortcut::activated, log, &application_log::open_log_window);
    }
}

} // namespace ondo

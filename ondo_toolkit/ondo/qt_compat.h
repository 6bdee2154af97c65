#pragma once

// The few places where Qt 5 and Qt 6 spell the same thing differently. Everything else in the
// toolkit and the program is written once, against the API both share; this header is the only
// place that asks for the version.

#include <QtGlobal>
#include <QCoreApplication>
#include <QEvent>
#include <QLibraryInfo>
#include <QPalette>
#include <QProcess>
#include <QString>
#include <QTextStream>
#include <QWidget>

#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
#include <QStringDecoder>
#else
#include <QTextCodec>
#include <memory>
#endif

class QEnterEvent;

namespace ondo::qt_compat {

#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)

// The argument of QWidget::enterEvent.
using enter_event = QEnterEvent;

// Qt 6 always scales by the screen's device pixel ratio; the attribute is gone.
inline void enable_high_dpi_scaling() {}

// QLayoutItem::widget() became const.
#define ONDO_LAYOUT_ITEM_WIDGET_CONST const

inline QString translations_path() { return QLibraryInfo::path(QLibraryInfo::TranslationsPath); }

// Qt 6's style sheets paint a line edit's placeholder in the sheet's text colour at half strength,
// Qt 5's at full strength. Gives `edit` Qt 5's look; call it each time the sheet has been applied
// (polish, style change), since a new sheet brings back the sheet's own palette.
inline void placeholder_in_text_colour(QWidget* edit)
{
    QPalette palette = edit->palette();
    bool changed = false;
    for (const QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        const QColor text = palette.color(group, QPalette::Text);
        if (palette.color(group, QPalette::PlaceholderText) != text) {
            palette.setColor(group, QPalette::PlaceholderText, text);
            changed = true;
        }
    }
    if (changed)
        edit->setPalette(palette);
}

// Qt 6's streams read and write UTF-8 unless told otherwise.
inline void use_utf8(QTextStream& stream) { stream.setEncoding(QStringConverter::Utf8); }

// UTF-8 to text, keeping a character whose bytes arrive in two pieces whole.
class utf8_decoder {
public:
    QString decode(const char* data, qsizetype size) { return decoder.decode(QByteArrayView(data, size)); }

private:
    QStringDecoder decoder{QStringDecoder::Utf8};
};

#else

using enter_event = QEvent;

// Before the application object: scales by the screen's device pixel ratio.
inline void enable_high_dpi_scaling() { QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling, true); }

#define ONDO_LAYOUT_ITEM_WIDGET_CONST

inline QString translations_path() { return QLibraryInfo::location(QLibraryInfo::TranslationsPath); }

inline void placeholder_in_text_colour(QWidget*) {}

inline void use_utf8(QTextStream& stream) { stream.setCodec("UTF-8"); }

class utf8_decoder {
public:
    QString decode(const char* data, qsizetype size) { return decoder->toUnicode(data, static_cast<int>(size)); }

private:
    std::unique_ptr<QTextDecoder> decoder{QTextCodec::codecForName("UTF-8")->makeDecoder()};
};

#endif

// A QProcess that runs setup_child() in the child between fork and exec, on Unix only. Qt 5
// calls the virtual setupChildProcess() there; Qt 6 takes a function instead.
class process_with_child_setup : public QProcess {
public:
    explicit process_with_child_setup(QObject* parent) : QProcess(parent)
    {
#if defined(Q_OS_UNIX) && QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
        setChildProcessModifier([this] { setup_child(); });
#endif
    }

protected:
    // Runs in the forked child: only async-signal-safe calls belong here.
    virtual void setup_child() {}

#if defined(Q_OS_UNIX) && QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    void setupChildProcess() override { setup_child(); }
#endif
};

} // namespace ondo::qt_compat

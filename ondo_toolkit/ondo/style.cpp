#include "ondo/style.h"

#include <QApplication>
#include <QFileInfo>
#include <QFontDatabase>
#include <QScreen>
#include <QScrollBar>
#include <QStyleFactory>
#include <QTableView>
#include <QTextEdit>

namespace ondo {

const char* const framed_combobox_rules =
    "QComboBox{padding-left:0.2em;margin-top:0px;margin-bottom:0px;outline:0px;"
    "selection-background-color:rgb(200,210,200);font-size:12px;background-color:rgb(36,36,36);"
    "border: 1px solid rgb(99,99,99);selection-color:#000;}"
    "QComboBox QAbstractItemView{margin-top:0px;margin-bottom:0px;outline:0px;"
    "selection-background-color:rgb(200,210,200);background-color:rgb(36,36,36);"
    "border: 1px solid rgb(99,99,99);selection-color:#000;}"
    "QComboBox QAbstractItemView::item{padding-left:0.5em;}"
    "QComboBox::drop-down{outline:0px;selection-background-color:rgb(200,210,200);border-width:0px;"
    "border-left:1px solid rgb(99,99,99);}"
    "QComboBox::down-arrow{image:url(:/gui/combobox/arrow.png);width:20;}";

const char* const list_scrollbar_rules =
    "QToolTip{border:1px solid rgb(99,99,99);background-image:none;background-color:rgb(47,47,47);}"
    "QScrollBar:vertical{border: none; background-color:rgb(47,47,47); width:11px; margin: 0px 0px 0px 0px; }"
    "QScrollBar::handle:vertical{border: 1px solid black; border-radius: 5px; background: rgb(0,0,0); "
    "min-height: 20px;}"
    "QScrollBar::add-line:vertical{background: black; height: 0px; subcontrol-position: bottom; "
    "subcontrol-origin: margin;}"
    "QScrollBar::sub-line:vertical{background: black; height: 0px; subcontrol-position: top; "
    "subcontrol-origin: margin;}";

proxy_style::proxy_style()
    : QProxyStyle(nullptr)
    , tooltip_delay(QApplication::style()->styleHint(QStyle::SH_ToolTip_WakeUpDelay))
    , tooltip_cooldown(QApplication::style()->styleHint(QStyle::SH_ToolTip_FallAsleepDelay))
{
}

int proxy_style::styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
    QStyleHintReturn* returnData) const
{
    switch (hint) {
    case SH_ComboBox_Popup: return 0;
    case SH_Slider_AbsoluteSetButtons: return Qt::LeftButton;
    case SH_ToolTip_WakeUpDelay: return tooltip_delay;
    case SH_ToolTip_FallAsleepDelay: return tooltip_cooldown;
    default: return QProxyStyle::styleHint(hint, option, widget, returnData);
    }
}

void proxy_style::set_tooltip_delay(int delay) { tooltip_delay = delay; }
void proxy_style::set_tooltip_cooldown(int delay) { tooltip_cooldown = delay; }

QFont design_font(QFont font)
{
    const QScreen* screen = QGuiApplication::primaryScreen();
    if (!screen || font.pointSizeF() <= 0 || qFuzzyCompare(screen->logicalDotsPerInchY(), 72.0))
        return font;
    font.setPixelSize(qRound(font.pointSizeF()));
    return font;
}

void alias_font_family(const QString& name, const QString& family)
{
    if (!QFontDatabase().families().contains(name, Qt::CaseInsensitive))
        QFont::insertSubstitution(name, family);
}

template <typename T>
void style_scrollbars(T* view)
{
    QStyle* style = QStyleFactory::create("fusion");
    style->setParent(view);
    view->verticalScrollBar()->setStyle(style);
    view->horizontalScrollBar()->setStyle(style);
    view->verticalScrollBar()->setStyleSheet(
        "QScrollBar:vertical {    border: none;    background-color:rgb(47,47,47);    width:11px;    "
        "    margin: 0px 0px 0px 0px;}"
        "QScrollBar::handle:vertical {    border: 1px solid black;    border-radius: 5px;    "
        "background: rgb(0,0,0);    min-height: 20px;}"
        "QScrollBar::add-line:vertical {    background: black;    height: 0px;    "
        "subcontrol-position: bottom;    subcontrol-origin: margin;}"
        "QScrollBar::sub-line:vertical {    background: black;    height: 0px;    "
        "subcontrol-position: top;    subcontrol-origin: margin;}");
    view->horizontalScrollBar()->setStyleSheet(
        "QScrollBar:horizontal {    border: none;    background-color:rgb(47,47,47);    height:11px;    "
        "    margin: 0px 0px 0px 0px;}"
        "QScrollBar::handle:horizontal {    border: 1px solid black;    border-radius: 5px;    "
        "background: rgb(0,0,0);    min-width: 20px;}"
        "QScrollBar::add-line:horizontal {    background: black;    width: 0px;    "
        "subcontrol-position: left;    subcontrol-origin: margin;}"
        "QScrollBar::sub-line:horizontal {    background: black;    width: 0px;    "
        "subcontrol-position: right;    subcontrol-origin: margin;}");
}

template void style_scrollbars<QTableView>(QTableView*);
template void style_scrollbars<QTextEdit>(QTextEdit*);

QImage load_artwork(const QString& path)
{
    // The same rule as style sheets follow for their url()s, so icons and sheets agree.
    if (qApp && qApp->devicePixelRatio() > 1.0) {
        const int dot = path.lastIndexOf('.');
        const QString fine = dot > path.lastIndexOf('/') ? QString(path).insert(dot, "@2x") : path + "@2x";
        QImage image(fine);
        if (!image.isNull()) {
            image.setDevicePixelRatio(2.0);
            return image;
        }
    }
    return QImage(path);
}

} // namespace ondo

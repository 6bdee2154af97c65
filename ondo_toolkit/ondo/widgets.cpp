#include "ondo/widgets.h"
#include "ondo/style.h"

#include <QAbstractItemView>
#include <QLayout>
#include <QMouseEvent>
#include <QPainter>
#include <QTimer>
#include <QVBoxLayout>

namespace ondo {

namespace {

const char* const tooltip_rule =
    "QToolTip{border:1px solid rgb(99,99,99);background-image:none;background-color:rgb(47,47,47);}";

} // namespace

// ---------------------------------------------------------------------------------------------
// radio

radio::radio(QWidget* parent) : QRadioButton(QString(), parent)
{
    spacing = 4;
    init();
}

void radio::init()
{
    setStyleSheet(QString("QRadioButton{spacing:%1px;}"
                          "QRadioButton::indicator:enabled:unchecked{image:url(:/gui/radio/unchecked.png);}"
                          "QRadioButton::indicator:enabled:checked{image:url(:/gui/radio/checked.png);}"
                          "QRadioButton::indicator:!enabled:unchecked{image:url(:/gui/radio/disabled_unchecked.png);}"
                          "QRadioButton::indicator:!enabled:checked{image:url(:/gui/radio/disabled_checked.png);}")
                      .arg(spacing)
        + tooltip_rule
        // Keyboard focus is drawn in the selection colour, which would be the style's blue.
        + "QRadioButton{selection-background-color:rgb(198,213,210);}");
}

// ---------------------------------------------------------------------------------------------
// combobox

combobox::combobox(QWidget* parent) : combobox(false, parent) {}

combobox::combobox(bool ignore, QWidget* parent) : QComboBox(parent), ignore_wheel(ignore)
{
    setStyleSheet(
        "QComboBox{padding-left:0.2em;margin-top:0px;margin-bottom:0px;outline:0px;"
        "selection-background-color:rgb(200,210,200);font-size:12px;background-color:rgb(36,36,36);"
        "border: 1px solid rgb(99,99,99);selection-color:#000;}"
        "QComboBox QAbstractItemView{margin-top:0px;margin-bottom:0px;outline:0px;"
        "selection-background-color:rgb(200,210,200);background-color:rgb(36,36,36);"
        "border: 1px solid rgb(99,99,99);selection-color:#000;color:rgb(198,213,210);}"
        "QComboBox QAbstractItemView::item{padding-left:0.5em;}"
        "QComboBox::drop-down{outline:0px;selection-background-color:rgb(200,210,200);border-width:0px;"
        "border-left:1px solid rgb(99,99,99);}"
        "QComboBox::down-arrow{image:url(:/gui/combobox/arrow.png);width:20;}"
        + QString(list_scrollbar_rules));
}

void combobox::mouseReleaseEvent(QMouseEvent* event)
{
    QComboBox::mouseReleaseEvent(event);
    emit clicked();
}

void combobox::wheelEvent(QWheelEvent* event)
{
    if (!ignore_wheel)
        QComboBox::wheelEvent(event);
}

// ---------------------------------------------------------------------------------------------
// panel

panel::panel(QLayout* content, bool topless, QWidget* parent) : QWidget(parent)
{
    auto* inner = new QWidget();
    if (content)
        inner->setLayout(content);

    auto* outer_layout = new QVBoxLayout(this);
    outer_layout->setSpacing(0);
    outer_layout->setContentsMargins(0, 0, 0, 0);

    auto* frame = new QWidget();
    frame->setObjectName(topless ? "ondo--panel_topless" : "ondo--panel");
    const QString suffix = topless ? "_topless" : "";
    setStyleSheet(QString("#ondo--panel%1 {border-style:solid; border-width:3px; "
                          "border-image:url(:/gui/panel/border%1.png) 3 stretch;}")
                      .arg(suffix));

    auto* frame_layout = new QVBoxLayout(frame);
    frame_layout->setSpacing(0);
    frame_layout->setContentsMargins(3, topless ? 0 : 3, 3, 3);
    frame_layout->addWidget(inner, 1);

    outer_layout->addWidget(frame, 1);
}

// ---------------------------------------------------------------------------------------------
// lineedit

lineedit::lineedit(QWidget* parent) : QLineEdit(QString(), parent)
{
    setAttribute(Qt::WA_MacShowFocusRect, false);
    update_style();
}

void lineedit::update_style()
{
    const QString rgb = QString("%1,%2,%3").arg(border.red()).arg(border.green()).arg(border.blue());
    setStyleSheet(QString("ondo--lineedit{    background:rgb(38,38,38);    color:rgb(198,213,210);    "
                          "border: 1px solid rgb(%1);    selection-background-color:rgb(198,213,210);    "
                          "selection-color: #000;}"
                          "ondo--lineedit:disabled{    border: 1px solid rgb(75,75,75);    "
                          "background: rgb(47,47,47);    color: rgb(100,100,100);}")
                      .arg(rgb)
        + tooltip_rule);
}

bool lineedit::event(QEvent* event)
{
    const bool handled = QLineEdit::event(event);
    // The theme shows a placeholder like typed text. The sheet has just set the palette, and a
    // new sheet sets it anew, so this follows both.
    if (event->type() == QEvent::Polish || event->type() == QEvent::StyleChange)
        qt_compat::placeholder_in_text_colour(this);
    return handled;
}

// ---------------------------------------------------------------------------------------------
// clickable_label

clickable_label::clickable_label(QWidget* parent) : clickable_label(QString(), true, parent) {}

clickable_label::clickable_label(const QString& text, bool is_clickable, QWidget* parent)
    : QLabel(text, parent), clickable(is_clickable)
{
    if (clickable) {
        setMouseTracking(true);
        setCursor(Qt::PointingHandCursor);
    }
    apply_style(false);
}

void clickable_label::apply_style(bool underline)
{
    setStyleSheet(QString("QLabel { text-decoration: %1; }QToolTip { border:1px solid rgb(99,99,99);"
                          "background-image:none;background-color:rgb(47,47,47); }")
                      .arg(underline ? "underline" : "none"));
}

void clickable_label::enterEvent(qt_compat::enter_event*)
{
    if (clickable)
        apply_style(true);
}

void clickable_label::leaveEvent(QEvent*)
{
    if (clickable)
        apply_style(false);
}

void clickable_label::mousePressEvent(QMouseEvent* event)
{
    modifiers = event->modifiers();
    if (event->button() == Qt::LeftButton)
        emit clicked();
}

void clickable_label::mouseReleaseEvent(QMouseEvent* event)
{
    QLabel::mouseReleaseEvent(event);
    modifiers = Qt::NoModifier;
}

// ---------------------------------------------------------------------------------------------
// label

label::label(QWidget* parent) : label(QString(), parent) {}

label::label(const QString& text, QWidget* parent) : QLabel(text, parent)
{
    setStyleSheet("QLabel{background:transparent;}QToolTip{border:1px solid rgb(99,99,99);"
                  "background-image:none;background:rgb(47,47,47);}");
}

void label::paintEvent(QPaintEvent* event)
{
    if (!custom_paint) {
        QLabel::paintEvent(event);
        return;
    }
    QPainter painter(this);
    custom_paint(painter);
}

// ---------------------------------------------------------------------------------------------
// checkbox

checkbox::checkbox(QWidget* parent) : checkbox(QString(), parent, false) {}

checkbox::checkbox(const QString& text, QWidget* parent, bool checked) : QCheckBox(text, parent)
{
    init(4, QColor(0, 0, 0, 0), "", "", QColor(198, 213, 210, 255));
    setChecked(checked);
}

void checkbox::init(int spacing, const QColor& indicator_color, const QString& checked_image,
    const QString& unchecked_image, const QColor& text_color)
{
    const QString common =
        QString("QCheckBox{spacing:%1px;color:rgb(%2,%3,%4);background:transparent;margin: 2px 0px 2px 2px;}")
            .arg(spacing)
            .arg(text_color.red())
            .arg(text_color.green())
            .arg(text_color.blue())
        + tooltip_rule;

    QString rules;
    if (!checked_image.isEmpty() && !unchecked_image.isEmpty()) {
        rules = QString("QCheckBox::indicator:enabled:unchecked{image:url(%3);border:1px solid rgb(99,99,99);"
                        "width:14px;height:14px;}"
                        "QCheckBox::indicator:enabled:checked{image:url(%2);border:3px solid rgb(255,255,255);"
                        "width:10px;height:10px;}"
                        "QCheckBox::indicator:!enabled:unchecked{image:url(%3);border:1px solid rgb(99,99,99);"
                        "width:14px;height:14px;}"
                        "QCheckBox::indicator:!enabled:checked{image:url(%2);border:3px solid rgb(255,255,255);"
                        "width:10px;height:10px;}")
                    .arg(checked_image, unchecked_image);
    } else if (!checked_image.isEmpty()) {
        rules = QString("QCheckBox::indicator:enabled:unchecked{image:url(:/gui/checkbox/unchecked.png);}"
                        "QCheckBox::indicator:enabled:checked{image:url(%2);border:3px solid rgb(255,255,255);"
                        "width:10px;height:10px;}"
                        "QCheckBox::indicator:!enabled:unchecked{image:url(:/gui/checkbox/disabled_unchecked.png);}"
                        "QCheckBox::indicator:!enabled:checked{image:url(%2);border:3px solid rgb(255,255,255);"
                        "width:10px;height:10px;}")
                    .arg(checked_image);
    } else if (indicator_color != QColor(0, 0, 0, 0)) {
        rules = QString("QCheckBox::indicator:unchecked{background-color:rgba(%2,%3,%4,%5);"
                        "border:1px solid rgb(99,99,99);width:14px;height:14px;}"
                        "QCheckBox::indicator:checked{background-color:rgba(%2,%3,%4,%5);"
                        "border:3px solid rgb(255,255,255);width:10px;height:10px;}")
                    .arg(indicator_color.red())
                    .arg(indicator_color.green())
                    .arg(indicator_color.blue())
                    .arg(indicator_color.alpha());
    } else {
        rules = "QCheckBox::indicator:enabled:unchecked{image:url(:/gui/checkbox/unchecked.png);}"
                "QCheckBox::indicator:enabled:checked{image:url(:/gui/checkbox/checked.png);}"
                "QCheckBox::indicator:!enabled:unchecked{image:url(:/gui/checkbox/disabled_unchecked.png);}"
                "QCheckBox::indicator:!enabled:checked{image:url(:/gui/checkbox/disabled_checked.png);}";
    }
    setStyleSheet(common + rules);
}

void checkbox_flat::paintEvent(QPaintEvent* event)
{
    checkbox::paintEvent(event);
    const QImage& image = !isEnabled() ? disabled_image : isChecked() ? checked_image : unchecked_image;
    if (image.isNull() || checked_image.isNull() || checked_image.height() == 0)
        return;
    int h = 14;
    int w = qRound(double(checked_image.width()) * h / checked_image.height());
    if (w > 9999) {
        w = 9999;
        h = qRound(double(checked_image.height()) * w / checked_image.width());
    }
    QPainter painter(this);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    painter.drawImage(QRect(0, (height() - h) / 2, w, h), image);
}

// ---------------------------------------------------------------------------------------------
// combobox_lineedit

void combobox_lineedit::focusInEvent(QFocusEvent* event)
{
    QLineEdit::focusInEvent(event);
    // Deferred: the click that brought the focus would clear a selection made right now.
    QTimer::singleShot(0, this, &QLineEdit::selectAll);
}

// ---------------------------------------------------------------------------------------------
// button_combobox

button_combobox::button_combobox(QWidget* parent) : QComboBox(parent), popup_panel(new QWidget(this))
{
    popup_panel->hide();
}

button_combobox::~button_combobox()
{
    // The panel may have moved to the window; it goes with the box all the same.
    delete popup_panel.data();
}

void button_combobox::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    if (custom_paint)
        custom_paint(painter);
}

void button_combobox::mousePressEvent(QMouseEvent* event)
{
    QComboBox::mousePressEvent(event);
    emit clicked();
    update();
}

void button_combobox::showPopup()
{
    QComboBox::showPopup();
    if (swallow_popup) {
        swallow_popup = false;
        update();
        return;
    }
    if (!popup_panel)
        return;
    if (view()->isVisible()) {
        QWidget* top = window();
        if (popup_panel->parentWidget() != top)
            popup_panel->setParent(top);
        popup_panel->move(mapTo(top, rect().bottomLeft()));
        popup_panel->show();
        popup_panel->raise();
    } else {
        popup_panel->hide();
        hidePopup();
    }
}

} // namespace ondo

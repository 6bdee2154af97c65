#pragma once

// Thin subclasses of the standard widgets that carry the dark theme in their own style sheets,
// so that a form only has to name the class. Selectors write a class as ondo--lineedit.

#include "ondo/qt_compat.h"

#include <QCheckBox>
#include <QColor>
#include <QComboBox>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QRadioButton>
#include <QTextEdit>
#include <QWidget>

#include <functional>

class QLayout;

namespace ondo {

class radio : public QRadioButton {
    Q_OBJECT
public:
    explicit radio(QWidget* parent = nullptr);
    // Applies the sheet with the current `spacing` between indicator and text.
    void init();

    int spacing = 4;
};

class combobox : public QComboBox {
    Q_OBJECT
public:
    explicit combobox(QWidget* parent = nullptr);
    // With `ignore_wheel` a wheel over the box neither changes the value nor scrolls.
    combobox(bool ignore_wheel, QWidget* parent);

    bool ignore_wheel = false;

signals:
    void clicked();

protected:
    void mouseReleaseEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
};

// A framed container around `content`. A topless panel has no top edge and no top margin, so it
// continues the panel above it.
class panel : public QWidget {
    Q_OBJECT
public:
    panel(QLayout* content, bool topless, QWidget* parent = nullptr);
};

class lineedit : public QLineEdit {
    Q_OBJECT
public:
    explicit lineedit(QWidget* parent = nullptr);
    // Rebuilds the sheet with `border`; a disabled field always shows rgb(75,75,75).
    void update_style();

    QColor default_border{99, 99, 99, 255};
    QColor border{default_border};

protected:
    bool event(QEvent* event) override;
};

// A label that emits clicked() on a left press. Only a clickable one shows the hand cursor and
// an underline while the pointer is over it.
class clickable_label : public QLabel {
    Q_OBJECT
public:
    explicit clickable_label(QWidget* parent = nullptr);
    clickable_label(const QString& text, bool clickable, QWidget* parent = nullptr);
    void apply_style(bool underline);

    bool clickable = true;
    // Those of the last press; cleared on release.
    Qt::KeyboardModifiers modifiers = Qt::NoModifier;

signals:
    void clicked();

protected:
    void enterEvent(qt_compat::enter_event* event) override;
    void leaveEvent(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
};

// A transparent label; with `custom_paint` set, that function paints it all.
class label : public QLabel {
    Q_OBJECT
public:
    explicit label(QWidget* parent = nullptr);
    explicit label(const QString& text, QWidget* parent = nullptr);

    std::function<void(QPainter&)> custom_paint;

protected:
    void paintEvent(QPaintEvent* event) override;
};

class checkbox : public QCheckBox {
    Q_OBJECT
public:
    explicit checkbox(QWidget* parent = nullptr);
    checkbox(const QString& text, QWidget* parent, bool checked);
    // Builds the sheet: images for the indicator if given (the checked one alone, or both), else
    // a plain indicator in `indicator_color` if that isn't fully transparent, else the theme's glyphs.
    void init(int spacing, const QColor& indicator_color, const QString& checked_image,
        const QString& unchecked_image, const QColor& text_color);
};

// A check box that paints its own indicator from three pictures, 14 pixels high.
class checkbox_flat : public checkbox {
    Q_OBJECT
public:
    using checkbox::checkbox;

    QImage checked_image;
    QImage unchecked_image;
    QImage disabled_image;

protected:
    void paintEvent(QPaintEvent* event) override;
};

// The line edit inside an editable combo box: focus by mouse selects all of its text.
class combobox_lineedit : public QLineEdit {
    Q_OBJECT
public:
    using QLineEdit::QLineEdit;

protected:
    void focusInEvent(QFocusEvent* event) override;
};

// A combo box that looks like a button: its owner paints it, and its pop-up can bring a panel
// of extra controls along below it.
class button_combobox : public QComboBox {
    Q_OBJECT
public:
    explicit button_combobox(QWidget* parent = nullptr);
    ~button_combobox() override;

    std::function<void(QPainter&)> custom_paint;
    QString caption;
    // Set to let the next pop-up request pass without opening anything.
    bool swallow_popup = false;
    // Starts as a hidden child; it moves to the window when it is first shown.
    QPointer<QWidget> popup_panel;

    void showPopup() override;

signals:
    void clicked();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
};

class textedit : public QTextEdit {
    Q_OBJECT
public:
    using QTextEdit::QTextEdit;
};

} // namespace ondo

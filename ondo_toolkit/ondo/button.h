#pragma once

#include <QPushButton>
#include <QRect>

namespace ondo {

// A transparent image button that flashes a light frame for a moment after each click.
class button : public QPushButton {
    Q_OBJECT
public:
    explicit button(const QString& text, QWidget* parent = nullptr);
    // Flashes `rect`, moved in by 4 at top left and out by 1 at bottom right, instead of a border.
    button(QWidget* parent, QRect rect);

    bool highlighted = false;
    QRect highlight_rect;

public slots:
    void deaktivate_highlight();

protected:
    void mouseReleaseEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

    // Merges `declarations` ("key:value;...") into the button's own sheet, key by key. Stops,
    // leaving the sheet as it was, at the first declaration that is already there unchanged.
    void merge_style_sheet(QString declarations);
};

// An ondo::button whose face is a piece of rich text, drawn once into its icon.
class button_html : public button {
    Q_OBJECT
public:
    explicit button_html(QWidget* parent = nullptr);
    button_html(const QString& html, QWidget* parent);
};

} // namespace ondo

#pragma once

#include <QString>
#include <QWidget>

class QPushButton;

namespace ondo {
namespace qt {

class cell;
class layout;

// A panel with a header row (a button and a title) above a content area that folds away. It
// must sit in a cell of an outer ondo::qt::layout: folding changes the height of that row.
class widget_fold : public QWidget {
    Q_OBJECT
public:
    // Without a button, one is made that reads "fold" and "unfold"; a given button keeps its
    // text. The widget has no parent.
    widget_fold(QString title, QPushButton* button = nullptr, double value = 0, int closed_height = 25);

    ondo::qt::layout* main_layout;
    bool own_button = false;
    bool closed = false;
    int closed_height;
    int open_height = 25;
    cell* outer_cell = nullptr;
    ondo::qt::layout* header_layout;
    ondo::qt::layout* content_layout;
    double value;
    QPushButton* button;

signals:
    // Carries the negation of `closed`: false right after folding, true right after opening.
    void folded(bool closed);

private:
    void toggle();
    void find_outer_cell(QWidget* self);
    void fit_content_to_outer_row();
};

} // namespace qt
} // namespace ondo

#pragma once

#include "ondo/property.h"
#include "ondo/qt_compat.h"

#include <QAbstractButton>
#include <QLayout>
#include <QLayoutItem>

#include <functional>
#include <map>
#include <type_traits>
#include <vector>

class QWidget;

namespace ondo {
namespace qt {

class layout;

struct cell_position {
    int column = 0;
    int row = 0;
};

// Row by row, then column by column: the order in which cells are visited.
bool operator<(const cell_position& a, const cell_position& b);

// Gives Qt the content of a cell through QLayoutItem::widget(), so that the record itself can
// name its field `widget`.
class cell_item : public QLayoutItem {
public:
    QWidget* widget() ONDO_LAYOUT_ITEM_WIDGET_CONST override;
};

// One place of the grid, a record with public fields. The QLayoutItem sizes are placeholders
// that the layout never reads. Copies share the background; destroying a cell deletes neither
// widget.
class cell : public cell_item {
public:
    cell();
    explicit cell(QWidget* widget);
    ~cell() override = default;

    QSize sizeHint() const override;
    QSize minimumSize() const override;
    QSize maximumSize() const override;
    Qt::Orientations expandingDirections() const override;
    void setGeometry(const QRect&) override;
    QRect geometry() const override;
    bool isEmpty() const override;

    // These need a cell that lives in a layout. The float argument is ignored.
    QWidget* background_widget() const { return background; }
    void margin(float all);
    void padding(float all);
    void resize_column(int width, float = 0);
    void resize_row(int height, float = 0);
    // Changes nothing unless both the width and the height differ from the stored ones.
    void resize_row_column(int width, int height, float = 0);

    bool covered = false;
    QWidget* background;
    QWidget* widget = nullptr;
    float margin_left = -1, margin_right = -1, margin_top = -1, margin_bottom = -1;
    float padding_left = 0, padding_right = 0, padding_top = 0, padding_bottom = 0;
    float width = -1, height = -1;
    int row_span = 1, column_span = 1;
    int column_width = -1, row_height = -1;
    int cell_column_width = 0;
    int offset_x = 0, offset_y = 0;
    bool newline = false;
    int row = 0, column = 0;
    ondo::qt::layout* owner = nullptr;
};

// Merges declarations into a widget's style sheet: "name:value;" pairs, a later value replacing
// an earlier one, written back sorted by name.
class stylesheet {
public:
    static QString merged(const QString& current, const QString& added);
    static void set(QWidget* widget, const QString& added);
};

// A grid of cells in the manner of a table in a style sheet. Widgets go in through add(), each
// to the next free place of the cursor; placement ignores Qt's size negotiation and uses the
// parent widget's size, with float arithmetic, move() and setFixedSize().
class layout : public QLayout {
    Q_OBJECT
public:
    // `wrap`: cells per line, 0 for no wrapping. `fill_by_rows_first`: the cursor moves down
    // the column instead of along the row.
    layout(QWidget* parent, int wrap = 0, bool fill_by_rows_first = false);
    explicit layout(int wrap = 0, bool fill_by_rows_first = false);
    // Deletes the backgrounds that never reached a parent; leaves widgets_in_cells as it is.
    ~layout() override;

    void add_(cell c);
    // Adds at the given place; the cursor stays and the cell's column width and row height
    // are not applied.
    void add_(cell c, unsigned column, unsigned row, bool skip_spannings);
    void recalc_spannings();

    // A widget with its properties; `on_click`, if set, runs on the button's clicked() with
    // current_cell pointing at the widget's cell.
    template <class T, class P = std::vector<ondo::property*>,
        class = std::enable_if_t<std::is_base_of<QWidget, T>::value>>
    T* add(T* widget, const std::function<void()>& on_click = {}, P&& properties = make_property_vector())
    {
        cell c(widget);
        apply_properties(c, _convert_to_property_vector(std::forward<P>(properties)));
        add_(c);
        if constexpr (std::is_base_of<QAbstractButton, T>::value) {
            if (on_click)
                connect_click(widget, on_click);
        }
        return widget;
    }
    // Wraps `inner` in a new plain widget and adds that.
    template <class P = std::vector<ondo::property*>>
    QWidget* add(QLayout* inner, P&& properties = make_property_vector())
    {
        return add_layout(inner, _convert_to_property_vector(std::forward<P>(properties)));
    }
    // At a given place, like add_(cell, column, row, false).
    template <class T, class = std::enable_if_t<std::is_base_of<QWidget, T>::value>>
    T* add(T* widget, int column, int row)
    {
        add_(cell(widget), unsigned(column), unsigned(row), false);
        return widget;
    }

    int count() const override;
    QLayoutItem* itemAt(int index) const override;
    // Nothing can be taken out: always null.
    QLayoutItem* takeAt(int index) override;
    Qt::Orientations expandingDirections() const override;
    // Throws ondo::exception: widgets go in through add().
    void addItem(QLayoutItem* item) override;
    QSize minimumSize() const override;
    // The axes are crossed against minimumSize(): the width is the sum of the row heights.
    QSize sizeHint() const override;
    // Places every cell in the parent widget's current size; the argument is ignored.
    void setGeometry(const QRect& rect) override;

    void apply_properties(cell& c, const std::vector<ondo::property*>& properties);

    std::map<cell_position, cell> cells;
    std::vector<int> row_heights;   // 0: flexible
    std::vector<int> column_widths; // 0: flexible
    cell_position last;
    cell_position cursor;
    int last_width = -1;
    int last_height = 0;
    int repeat_count = 0;
    bool fill_by_rows_first;
    int wrap;

    static std::map<QWidget*, cell*> widgets_in_cells;
    static cell* current_cell;

private:
    void step(cell_position& place) const;
    void skip_occupied();
    void grow_tables(const cell_position& place);
    void connect_click(QAbstractButton* button, const std::function<void()>& on_click);
    QWidget* add_layout(QLayout* inner, std::vector<ondo::property*> properties);
    void adopt(QWidget* child);
};

} // namespace qt
} // namespace ondo

#include "ondo/layout.h"

#include "ondo/message_handler.h"

#include <QMap>
#include <QStringList>
#include <QWidget>

#include <algorithm>
#include <set>

namespace ondo {
namespace qt {

bool operator<(const cell_position& a, const cell_position& b)
{
    return a.row != b.row ? a.row < b.row : a.column < b.column;
}

QWidget* cell_item::widget() ONDO_LAYOUT_ITEM_WIDGET_CONST
{
    return static_cast<const cell*>(this)->widget;
}

// ---------------------------------------------------------------------------------------------
// cell

cell::cell() : background(new QWidget) {}

cell::cell(QWidget* content) : background(new QWidget), widget(content) {}

QSize cell::sizeHint() const { return {100, 100}; }
QSize cell::minimumSize() const { return {100, 100}; }
QSize cell::maximumSize() const { return {100, 100}; }
Qt::Orientations cell::expandingDirections() const { return Qt::Horizontal | Qt::Vertical; }
void cell::setGeometry(const QRect&) {}
QRect cell::geometry() const { return {0, 0, 100, 100}; }

bool cell::isEmpty() const
{
    return !(covered || widget);
}

void cell::margin(float all)
{
    margin_left = margin_right = margin_top = margin_bottom = all;
}

void cell::padding(float all)
{
    padding_left = padding_right = padding_top = padding_bottom = all;
}

namespace {

// The window is made one pixel higher and set back: two new sizes, so the placement runs
// again even when its guard against repeated passes has closed.
void shake(QWidget* window)
{
    if (!window)
        return;
    const QSize size = window->size();
    window->resize(size.width(), size.height() + 1);
    window->resize(size);
}

// The top-level window above the layout's widget; null while the layout has no widget yet.
QWidget* window_of(const layout* owner)
{
    return owner->parentWidget() ? owner->parentWidget()->window() : nullptr;
}

int& table_entry(std::vector<int>& table, int index)
{
    if (int(table.size()) <= index)
        table.resize(index + 1, 0);
    return table[index];
}

} // namespace

void cell::resize_column(int new_width, float)
{
    QWidget* window = window_of(owner);
    int& entry = table_entry(owner->column_widths, column < 0 ? owner->last.column : column);
    if (entry == new_width)
        return;
    entry = new_width;
    shake(window);
}

void cell::resize_row(int new_height, float)
{
    QWidget* window = window_of(owner);
    int& entry = table_entry(owner->row_heights, row < 0 ? owner->last.row : row);
    if (entry == new_height)
        return;
    entry = new_height;
    shake(window);
    if (window)
        window->repaint();
}

void cell::resize_row_column(int new_width, int new_height, float)
{
    QWidget* window = window_of(owner);
    const int c = column < 0 ? owner->last.column : column;
    const int r = row < 0 ? owner->last.row : row;
    const auto stored = [](const std::vector<int>& table, int index) {
        return index < int(table.size()) ? table[index] : 0;
    };
    if (stored(owner->column_widths, c) == new_width || stored(owner->row_heights, r) == new_height)
        return;
    table_entry(owner->column_widths, c) = new_width;
    table_entry(owner->row_heights, r) = new_height;
    shake(window);
}

// ---------------------------------------------------------------------------------------------
// stylesheet

QString stylesheet::merged(const QString& current, const QString& added)
{
    QMap<QString, QString> declarations;
    const QStringList pieces = (current + added).split(';');
    for (const QString& piece : pieces) {
        const int colon = piece.indexOf(':');
        const QString name = colon < 0 ? piece : piece.left(colon);
        const QString value = colon < 0 ? QString() : piece.mid(colon + 1);
        if (name.isEmpty() || value.isEmpty())
            continue;
        declarations.insert(name, value);
    }
    QString result;
    for (auto it = declarations.cbegin(); it != declarations.cend(); ++it)
        result += it.key() + ":" + it.value() + ";";
    return result;
}

void stylesheet::set(QWidget* widget, const QString& added)
{
    widget->setStyleSheet(merged(widget->styleSheet(), added));
}

// ---------------------------------------------------------------------------------------------
// layout

std::map<QWidget*, cell*> layout::widgets_in_cells;
cell* layout::current_cell = nullptr;

layout::layout(QWidget* parent, int wrap, bool fill_by_rows_first)
    : QLayout(parent), fill_by_rows_first(fill_by_rows_first), wrap(wrap)
{
}

layout::layout(int wrap, bool fill_by_rows_first) : QLayout(), fill_by_rows_first(fill_by_rows_first), wrap(wrap)
{
}

layout::~layout()
{
    // Backgrounds that never reached a parent belong to no one; copies of a cell share one.
    std::set<QWidget*> unplaced;
    for (auto& entry : cells) {
        QWidget* background = entry.second.background;
        if (background && !background->parentWidget())
            unplaced.insert(background);
    }
    for (QWidget* background : unplaced)
        delete background;
}

void layout::step(cell_position& place) const
{
    int& along = fill_by_rows_first ? place.row : place.column;
    int& across = fill_by_rows_first ? place.column : place.row;
    ++along;
    if (wrap != 0 && along >= wrap) {
        ++across;
        along = 0;
    }
}

void layout::skip_occupied()
{
    for (;;) {
        const auto found = cells.find(cursor);
        if (found == cells.end() || !(found->second.covered || found->second.widget))
            return;
        step(cursor);
    }
}

void layout::grow_tables(const cell_position& place)
{
    if (int(column_widths.size()) < place.column + 1)
        column_widths.resize(place.column + 1, 0);
    if (int(row_heights.size()) < place.row + 1)
        row_heights.resize(place.row + 1, 0);
}

void layout::adopt(QWidget* child)
{
    QWidget* parent = parentWidget();
    if (child->parentWidget() == parent)
        return;
    // A widget given to a parent that is already on screen stays hidden until shown.
    const bool show = parent && parent->isVisible()
        && !(child->isHidden() && child->testAttribute(Qt::WA_WState_ExplicitShowHide));
    child->setParent(parent);
    if (show)
        child->show();
}

void layout::add_(cell c)
{
    if (c.widget)
        adopt(c.widget);
    c.owner = this;
    skip_occupied();
    const cell_position place = cursor;
    c.column = place.column;
    c.row = place.row;
    // Not operator[]: a default cell would make a background of its own.
    cell& stored = cells.insert_or_assign(place, c).first->second;
    if (stored.widget)
        widgets_in_cells[stored.widget] = &stored;
    recalc_spannings();
    last = place;
    grow_tables(place);
    if (stored.column_width > 0)
        column_widths[last.column] = stored.column_width;
    if (stored.row_height > 0)
        row_heights[last.row] = stored.row_height;
    if (stored.newline) {
        if (fill_by_rows_first) {
            ++cursor.column;
            cursor.row = 0;
        } else {
            ++cursor.row;
            cursor.column = 0;
        }
    } else {
        step(cursor);
    }
    skip_occupied();
}

void layout::add_(cell c, unsigned column, unsigned row, bool skip_spannings)
{
    if (c.widget)
        adopt(c.widget);
    c.owner = this;
    const cell_position place{int(column), int(row)};
    c.column = place.column;
    c.row = place.row;
    // Not operator[]: a default cell would make a background of its own.
    cell& stored = cells.insert_or_assign(place, c).first->second;
    if (stored.widget)
        widgets_in_cells[stored.widget] = &stored;
    if (!skip_spannings)
        recalc_spannings();
    grow_tables(place);
    last = place;
}

void layout::recalc_spannings()
{
    cell covering;
    covering.covered = true;
    bool used = false;
    for (auto& [place, c] : cells) {
        const int columns = c.column_span, rows = c.row_span;
        for (int dc = 0; dc < columns; ++dc) {
            for (int dr = 0; dr < rows; ++dr) {
                if (dc == 0 && dr == 0)
                    continue;
                const auto there = cells.find({place.column + dc, place.row + dr});
                if (there != cells.end() && there->second.covered)
                    continue; // already covered; a new copy would only change its background

                add_(covering, place.column + dc, place.row + dr, true);
                used = true;
            }
        }
    }
    // The template's background only lives on in the places it covers.
    if (!used)
        delete covering.background;
    for (int column = 0; column < int(column_widths.size()); ++column) {
        for (int row = 0; row < int(row_heights.size()); ++row) {
            if (cells.find({column, row}) == cells.end())
                add_(cell(), column, row, false);
        }
    }
}

QWidget* layout::add_layout(QLayout* inner, std::vector<ondo::property*> properties)
{
    QWidget* holder = new QWidget;
    holder->setLayout(inner);
    cell c(holder);
    apply_properties(c, properties);
    add_(c);
    return holder;
}

void layout::connect_click(QAbstractButton* button, const std::function<void()>& on_click)
{
    const cell_position place = last;
    QObject::connect(button, &QAbstractButton::clicked, this, [this, place, on_click] {
        current_cell = &cells.at(place);
        on_click();
    });
}

int layout::count() const
{
    return int(std::count_if(cells.begin(), cells.end(), [](const auto& entry) { return !entry.second.isEmpty(); }));
}

QLayoutItem* layout::itemAt(int index) const
{
    if (index < 0)
        return nullptr;
    for (const auto& entry : cells) {
        if (entry.second.isEmpty())
            continue;
        if (index-- == 0)
            return const_cast<cell*>(&entry.second);
    }
    return nullptr;
}

QLayoutItem* layout::takeAt(int)
{
    return nullptr;
}

Qt::Orientations layout::expandingDirections() const
{
    return Qt::Horizontal | Qt::Vertical;
}

void layout::addItem(QLayoutItem*)
{
    throw ondo::exception("This layout works different. Use add() instead.");
}

namespace {

int sum(const std::vector<int>& table, int flexible)
{
    int total = 0;
    for (int entry : table)
        total += entry == 0 ? flexible : entry;
    return total;
}

struct span {
    float position;
    float inner;
};

// One axis of a cell: a fixed size sits by its margins (centred without any) and keeps its
// padding out of the position; otherwise the content fills the cell inside margins and padding.
span place_on_axis(float x, float outer, float size, float first, float second, float first_padding,
    float second_padding)
{
    if (size > 0) {
        if (first < 0 && second < 0)
            return {x + outer / 2 - size / 2, size};
        if (first < 0)
            return {x + outer - size - second, size};
        if (second < 0)
            return {x + first, size};
        return {x, size};
    }
    const float l = first >= 0 ? first : 0;
    const float r = second >= 0 ? second : 0;
    return {x + l + first_padding, outer - l - r - first_padding - second_padding};
}

int clamped(float value)
{
    return value < 0 ? 0 : int(value);
}

} // namespace

QSize layout::minimumSize() const
{
    return {sum(column_widths, 0), sum(row_heights, 0)};
}

QSize layout::sizeHint() const
{
    return {sum(row_heights, 20), sum(column_widths, 20)};
}

void layout::setGeometry(const QRect& rect)
{
    QLayout::setGeometry(rect);
    QWidget* parent = parentWidget();
    if (!parent)
        return;
    // setFixedSize() below leads back here; one size is placed a few times at most.
    const int parent_width = parent->width(), parent_height = parent->height();
    if (parent_width == last_width && parent_height == last_height) {
        if (repeat_count > 3)
            return;
        ++repeat_count;
    } else {
        repeat_count = 0;
    }
    last_width = parent_width;
    last_height = parent_height;

    if (row_heights.empty())
        return;
    const float flex_width = float(parent_width - sum(column_widths, 0))
        / float(std::count(column_widths.begin(), column_widths.end(), 0));
    const float flex_height = float(parent_height - sum(row_heights, 0))
        / float(std::count(row_heights.begin(), row_heights.end(), 0));
    const auto column_width_of = [&](int column) {
        const int fixed = column < int(column_widths.size()) ? column_widths[column] : 0;
        return fixed != 0 ? float(fixed) : flex_width;
    };
    const auto row_height_of = [&](int row) {
        const int fixed = row < int(row_heights.size()) ? row_heights[row] : 0;
        return fixed != 0 ? float(fixed) : flex_height;
    };

    float y = 0;
    for (int row = 0; row < int(row_heights.size()); ++row) {
        float x = 0;
        for (int column = 0; column < int(column_widths.size()); ++column) {
            const auto found = cells.find({column, row});
            if (found == cells.end())
                continue;
            cell& c = found->second;
            float outer_width = c.cell_column_width >= 1 ? float(c.cell_column_width) : column_width_of(column);
            for (int k = 1; k < c.column_span; ++k)
                outer_width += column_width_of(column + k);
            float outer_height = 0;
            for (int k = 0; k < c.row_span; ++k)
                outer_height += row_height_of(row + k);

            const span h = place_on_axis(x, outer_width, c.width, c.margin_left, c.margin_right,
                c.padding_left, c.padding_right);
            const span v = place_on_axis(y, outer_height, c.height, c.margin_top, c.margin_bottom,
                c.padding_top, c.padding_bottom);
            if (c.widget) {
                c.widget->move(int(h.position + c.offset_x), int(v.position + c.offset_y));
                c.widget->setFixedSize(clamped(h.inner), clamped(v.inner));
            }
            if (c.background) {
                c.background->move(int(h.position - c.padding_left), int(v.position - c.padding_top));
                c.background->setFixedSize(clamped(h.inner + c.padding_left + c.padding_right),
                    clamped(v.inner + c.padding_top + c.padding_bottom));
                if (c.background->parentWidget() != parent) {
                    adopt(c.background);
                    c.background->lower(); // behind every content widget, also of earlier cells
                }
            }
            // Only content moves the line on: covered places and empty cells take no room.
            if (c.widget) {
                adopt(c.widget);
                c.widget->raise();
                x += outer_width;
            }
        }
        y += row_height_of(row);
    }
}

void layout::apply_properties(cell& c, const std::vector<ondo::property*>& properties)
{
    namespace p = ondo::qt::property;
    for (ondo::property* prop : properties) {
        const auto one = [prop] { return float(static_cast<property_type<int, 1>*>(prop)->value); };
        const auto many = [prop](int n) -> const std::vector<int>& {
            return n == 2 ? static_cast<property_type<int, 2>*>(prop)->values
                          : static_cast<property_type<int, 4>*>(prop)->values;
        };
        const auto text = [prop] { return static_cast<property_type<QString, 1>*>(prop)->value; };
        if (prop == p::margin) {
            const auto& v = many(4);
            c.margin_top = v[0], c.margin_right = v[1], c.margin_bottom = v[2], c.margin_left = v[3];
        } else if (prop == p::margin_top) {
            c.margin_top = one();
        } else if (prop == p::margin_bottom) {
            c.margin_bottom = one();
        } else if (prop == p::margin_left) {
            c.margin_left = one();
        } else if (prop == p::margin_right) {
            c.margin_right = one();
        } else if (prop == p::padding) {
            const auto& v = many(4);
            c.padding_top = v[0], c.padding_right = v[1], c.padding_bottom = v[2], c.padding_left = v[3];
        } else if (prop == p::padding_top) {
            c.padding_top = one();
        } else if (prop == p::padding_bottom) {
            c.padding_bottom = one();
        } else if (prop == p::padding_left) {
            c.padding_left = one();
        } else if (prop == p::padding_right) {
            c.padding_right = one();
        } else if (prop == p::width) {
            c.width = one();
        } else if (prop == p::height) {
            c.height = one();
        } else if (prop == p::size) {
            const auto& v = many(2);
            c.width = float(v[0]);
            c.height = float(v[1]);
            if (c.widget)
                c.widget->setFixedSize(v[0], v[1]);
        } else if (prop == p::style_sheet) {
            if (c.widget)
                stylesheet::set(c.widget, text());
        } else if (prop == p::background_style_sheet) {
            if (c.background)
                c.background->setStyleSheet(c.background->styleSheet() + text());
        } else if (prop == p::background_disable) {
            if (c.background)
                c.background->setStyleSheet(c.background->styleSheet() + "background-color:none;background-image:none;");
        } else if (prop == p::row_span) {
            c.row_span = int(one());
        } else if (prop == p::column_span) {
            c.column_span = int(one());
        } else if (prop == p::column_width) {
            c.column_width = int(one());
        } else if (prop == p::row_height) {
            c.row_height = int(one());
        } else if (prop == p::cell_column_width) {
            c.cell_column_width = int(one());
        } else if (prop == p::offset_x) {
            c.offset_x = int(one());
        } else if (prop == p::offset_y) {
            c.offset_y = int(one());
        } else if (prop == p::offset) {
            const auto& v = many(2);
            c.offset_x = v[0];
            c.offset_y = v[1];
        } else if (prop == p::newline) {
            c.newline = true;
        } else if (prop == p::hide) {
            if (c.widget)
                c.widget->setVisible(false);
        } else if (prop == p::disable) {
            if (c.widget)
                c.widget->setEnabled(false);
        } else if (prop == p::widget_size || prop == p::widget_size_as_cell_column_width) {
            if (!c.widget)
                continue;
            c.width = float(c.widget->width());
            c.height = float(c.widget->height());
            if (prop == p::widget_size_as_cell_column_width)
                c.cell_column_width = c.widget->width();
        }
        // A kind this loop doesn't know is skipped.
    }
}

} // namespace qt
} // namespace ondo

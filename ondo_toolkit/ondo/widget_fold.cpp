#include "ondo/widget_fold.h"

#include "ondo/layout.h"

#include <QLabel>
#include <QPushButton>
#include <QTimer>

namespace ondo {
namespace qt {

widget_fold::widget_fold(QString title, QPushButton* given_button, double value, int closed_height)
    : closed_height(closed_height), value(value), button(given_button)
{
    namespace p = ondo::qt::property;
    main_layout = new ondo::qt::layout(2, false);
    if (!button) {
        button = new QPushButton("fold");
        own_button = true;
    }
    main_layout->add(button, [this] { toggle(); }, (p::row_height(closed_height), make_property_vector()));
    const int hint = button->sizeHint().width();
    main_layout->column_widths[main_layout->last.column] = hint != 0 ? hint - 20 : closed_height;

    auto* header = new QWidget;
    header_layout = new ondo::qt::layout(header, 1, false);
    main_layout->add(header, 1, 0);
    if (!title.isEmpty())
        header_layout->add(new QLabel(title));

    content_layout = new ondo::qt::layout(1, false);
    main_layout->add(content_layout, (p::column_span(2), (p::height(400), (p::margin_top(0), make_property_vector()))));

    // Once the outer layout has placed this widget, the content takes the height of its row.
    for (int i = 0; i < 2; ++i)
        QTimer::singleShot(0, this, [this] { fit_content_to_outer_row(); });

    setLayout(main_layout);
    QWidget* top = window();
    const QSize size = top->size();
    top->resize(size.width(), size.height() + 1);
    top->resize(size);
    top->repaint();
}

void widget_fold::find_outer_cell(QWidget* self)
{
    if (!outer_cell)
        outer_cell = ondo::qt::layout::widgets_in_cells[self];
}

void widget_fold::fit_content_to_outer_row()
{
    find_outer_cell(this);
    if (!outer_cell)
        return;
    const auto& heights = outer_cell->owner->row_heights;
    const int row = outer_cell->row;
    const auto content = main_layout->cells.find({0, 1});
    if (content != main_layout->cells.end() && row < int(heights.size()))
        content->second.height = float(heights[row]);
}

void widget_fold::toggle()
{
    closed = !closed;
    // The click came from the button, whose parent is this widget: its cell in the outer layout.
    if (!outer_cell && ondo::qt::layout::current_cell && ondo::qt::layout::current_cell->widget)
        find_outer_cell(ondo::qt::layout::current_cell->widget->parentWidget());
    int target;
    if (closed) {
        if (outer_cell) {
            const auto& heights = outer_cell->owner->row_heights;
            open_height = outer_cell->row < int(heights.size()) ? heights[outer_cell->row] : 0;
        }
        target = closed_height;
        if (own_button)
            button->setText("unfold");
    } else {
        target = open_height;
        if (own_button)
            button->setText("fold");
    }
    // Outside an ondo::qt::layout there is no row to change.
    if (outer_cell)
        outer_cell->resize_row(target);
    emit folded(!closed);
}

} // namespace qt
} // namespace ondo

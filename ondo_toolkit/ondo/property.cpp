#include "ondo/property.h"

#include <utility>

namespace ondo {

// Constant-initialised, so it is zero before any property of another file is built.
int type_counter = 0;

property::property() : id(type_counter++) {}

std::vector<property*> property::operator,(std::vector<property*> list)
{
    list.push_back(this);
    return list;
}

bool operator==(property* p, property q)
{
    return p->id == q.id;
}

std::vector<property*> make_property_vector()
{
    return {};
}

std::vector<property*> _convert_to_property_vector(property_type<void, 1>& p)
{
    return {&p};
}

std::vector<property*> _convert_to_property_vector(std::vector<property*> list)
{
    return list;
}

namespace qt {
namespace property {

// One definition list, so that the ids follow this order.
ondo::property_type<int, 4> margin;
ondo::property_type<int, 1> margin_top, margin_bottom, margin_left, margin_right;
ondo::property_type<int, 4> padding;
ondo::property_type<int, 1> padding_top, padding_bottom, padding_left, padding_right;
ondo::property_type<int, 1> width, height;
ondo::property_type<int, 2> size;
ondo::property_type<QString, 1> style_sheet, background_style_sheet;
ondo::property_type<void, 1> background_disable;
ondo::property_type<int, 1> row_height, row_span, column_span, column_width;
ondo::property_type<void, 1> hide, disable;
ondo::property_type<int, 1> cell_column_width;
ondo::property_type<void, 1> newline;
ondo::property_type<int, 1> offset_x, offset_y;
ondo::property_type<int, 2> offset;
ondo::property_type<void, 1> widget_size, widget_size_as_cell_column_width;

} // namespace property
} // namespace qt

} // namespace ondo

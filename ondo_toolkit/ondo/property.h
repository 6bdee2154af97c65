#pragma once

#include <QString>

#include <vector>

namespace ondo {

// Hands out the ids of properties in the order of construction. Not guarded: properties are
// made on one thread.
extern int type_counter;

// The identity of a named property. Two objects are the same kind of property when their ids
// match; copies keep the id, every other construction draws a new one.
class property {
public:
    property();

    // `margin(1, 2, 3, 4), make_property_vector()`: appends this property to `list` and
    // returns the list, moved out of the argument.
    std::vector<property*> operator,(std::vector<property*> list);

    int id;
};

bool operator==(property* p, property q);

// A property that carries N values of T. The global objects of ondo::qt::property keep the
// values of their last call, which the layout reads when it applies the list.
template <class T, int N>
class property_type;

template <>
class property_type<void, 1> : public property {
};

template <>
class property_type<int, 1> : public property {
public:
    property_type& operator()(int v)
    {
        value = v;
        return *this;
    }
    int value = 0;
};

template <int N>
class property_type<int, N> : public property {
public:
    template <class... Ints>
    property_type& operator()(Ints... v)
    {
        static_assert(sizeof...(Ints) == N, "one value for each place");
        values = {int(v)...};
        return *this;
    }
    std::vector<int> values = std::vector<int>(N, 0);
};

template <>
class property_type<QString, 1> : public property {
public:
    property_type& operator()(const QString& v)
    {
        value = v;
        return *this;
    }
    QString value;
};

std::vector<property*> make_property_vector();
std::vector<property*> _convert_to_property_vector(property_type<void, 1>& p);
std::vector<property*> _convert_to_property_vector(std::vector<property*> list);

namespace qt {
namespace property {

// The kinds the cell layout understands, built at start-up in this order.
extern ondo::property_type<int, 4> margin;
extern ondo::property_type<int, 1> margin_top, margin_bottom, margin_left, margin_right;
extern ondo::property_type<int, 4> padding;
extern ondo::property_type<int, 1> padding_top, padding_bottom, padding_left, padding_right;
extern ondo::property_type<int, 1> width, height;
extern ondo::property_type<int, 2> size;
extern ondo::property_type<QString, 1> style_sheet, background_style_sheet;
extern ondo::property_type<void, 1> background_disable;
extern ondo::property_type<int, 1> row_height, row_span, column_span, column_width;
extern ondo::property_type<void, 1> hide, disable;
extern ondo::property_type<int, 1> cell_column_width;
extern ondo::property_type<void, 1> newline;
extern ondo::property_type<int, 1> offset_x, offset_y;
extern ondo::property_type<int, 2> offset;
extern ondo::property_type<void, 1> widget_size, widget_size_as_cell_column_width;

} // namespace property
} // namespace qt

} // namespace ondo

#include <ondo/layout.h>
#include <ondo/message_handler.h>

#include <QPushButton>
#include <QtTest>

#include <functional>

namespace p = ondo::qt::property;
using ondo::make_property_vector;
using ondo::qt::layout;
using build = std::function<QWidget*(layout&)>;
Q_DECLARE_METATYPE(build)
using property_list = std::vector<ondo::property*>;
Q_DECLARE_METATYPE(property_list)

namespace {

QString place_of(QWidget* w)
{
    const ondo::qt::cell* c = layout::widgets_in_cells.at(w);
    return QString("%1,%2").arg(c->column).arg(c->row);
}

} // namespace

class tst_layout : public QObject {
    Q_OBJECT
private slots:
    void properties_apply_to_the_cell_data()
    {
        QTest::addColumn<property_list>("properties");
        QTest::addColumn<QString>("expected");
        const auto none = make_property_vector();
        QTest::newRow("none keeps the defaults") << none << "m-1,-1,-1,-1 p0,0,0,0 s-1x-1 o0,0 cw0 vis1 en1";
        QTest::newRow("margin is top right bottom left") << (p::margin(1, 2, 3, 4), none) << "m1,2,3,4 p0,0,0,0 s-1x-1 o0,0 cw0 vis1 en1";
        QTest::newRow("padding and one side")
            << (p::padding_left(9), (p::padding(5, 6, 7, 8), none)) << "m-1,-1,-1,-1 p5,6,7,9 s-1x-1 o0,0 cw0 vis1 en1";
        QTest::newRow("size fixes the widget") << (p::size(30, 20), none) << "m-1,-1,-1,-1 p0,0,0,0 s30x20 o0,0 cw0 vis1 en1 fixed30x20";
        QTest::newRow("offset, hide, disable")
            << (p::offset(5, -6), (p::hide, (p::disable, none))) << "m-1,-1,-1,-1 p0,0,0,0 s-1x-1 o5,-6 cw0 vis0 en0";
        QTest::newRow("widget size as column width")
            << (p::widget_size_as_cell_column_width, none) << "m-1,-1,-1,-1 p0,0,0,0 s64x32 o0,0 cw64 vis1 en1";
        static ondo::property_type<int, 1> unknown;
        QTest::newRow("unknown kind skipped") << (unknown(7), none) << "m-1,-1,-1,-1 p0,0,0,0 s-1x-1 o0,0 cw0 vis1 en1";
    }

    void properties_apply_to_the_cell()
    {
        QFETCH(property_list, properties);
        QFETCH(QString, expected);
        QWidget parent;
        auto* l = new layout(&parent);
        auto* w = new QPushButton;
        w->resize(64, 32);
        l->add(w, {}, properties);
        const ondo::qt::cell& c = l->cells.at({0, 0});
        QString seen = QString("m%1,%2,%3,%4 p%5,%6,%7,%8 s%9x%10")
                           .arg(c.margin_top).arg(c.margin_right).arg(c.margin_bottom).arg(c.margin_left)
                           .arg(c.padding_top).arg(c.padding_right).arg(c.padding_bottom).arg(c.padding_left)
                           .arg(c.width).arg(c.height);
        seen += QString(" o%1,%2 cw%3 vis%4 en%5").arg(c.offset_x).arg(c.offset_y).arg(c.cell_column_width)
                    .arg(!w->isHidden()).arg(w->isEnabled());
        if (w->minimumSize() == w->maximumSize())
            seen += QString(" fixed%1x%2").arg(w->width()).arg(w->height());
        QCOMPARE(seen, expected);
    }

    void style_sheet_merge_data()
    {
        QTest::addColumn<QString>("current");
        QTest::addColumn<QString>("added");
        QTest::addColumn<QString>("expected");
        QTest::newRow("later value wins, sorted") << "color:red;" << "margin:0;color:blue" << "color:blue;margin:0;";
        QTest::newRow("empty names and values dropped") << ";a:;:b;" << "c:d;e" << "c:d;";
        QTest::newRow("value keeps its colons") << "" << "background-image:url(:/x.png)" << "background-image:url(:/x.png);";
    }

    void style_sheet_merge()
    {
        QFETCH(QString, current);
        QFETCH(QString, added);
        QWidget w;
        w.setStyleSheet(current);
        ondo::qt::stylesheet::set(&w, added);
        QTEST(w.styleSheet(), "expected");
    }

    void cursor_data()
    {
        QTest::addColumn<int>("wrap");
        QTest::addColumn<bool>("rows_first");
        QTest::addColumn<QStringList>("adds");
        QTest::addColumn<QString>("places");
        QTest::newRow("wrap 2") << 2 << false << QStringList{"", "", ""} << "0,0 1,0 0,1";
        QTest::newRow("wrap 2 down the column") << 2 << true << QStringList{"", "", ""} << "0,0 0,1 1,0";
        QTest::newRow("span 2 without wrap") << 0 << false << QStringList{"span", ""} << "0,0 2,0";
        QTest::newRow("span 2 with wrap 2") << 2 << false << QStringList{"span", ""} << "0,0 0,1";
        QTest::newRow("row span is stepped over") << 2 << false << QStringList{"rowspan", "", ""} << "0,0 1,0 1,1";
        QTest::newRow("newline without wrap") << 0 << false << QStringList{"", "newline", ""} << "0,0 1,0 0,1";
        QTest::newRow("newline down the column") << 0 << true << QStringList{"newline", ""} << "0,0 1,0";
    }

    void cursor()
    {
        QFETCH(int, wrap);
        QFETCH(bool, rows_first);
        QFETCH(QStringList, adds);
        QWidget parent;
        auto* l = new layout(&parent, wrap, rows_first);
        QStringList places;
        for (const QString& kind : adds) {
            auto* w = new QWidget;
            if (kind == "span")
                l->add(w, {}, (p::column_span(2), make_property_vector()));
            else if (kind == "rowspan")
                l->add(w, {}, (p::row_span(2), make_property_vector()));
            else if (kind == "newline")
                l->add(w, {}, p::newline);
            else
                l->add(w);
            places << place_of(w);
        }
        QTEST(places.join(' '), "places");
    }

    void placement_data()
    {
        QTest::addColumn<build>("fill");
        QTest::addColumn<QRect>("geometry");
        const auto fixed_column = [](int width) { return (p::column_width(width), make_property_vector()); };
        QTest::newRow("two flexible columns share 300") << build([](layout& l) {
            l.add(new QWidget);
            return l.add(new QWidget);
        }) << QRect(150, 0, 150, 100);
        QTest::newRow("flexible columns beside a fixed one") << build([=](layout& l) {
            l.add(new QWidget, {}, fixed_column(100));
            l.add(new QWidget);
            return l.add(new QWidget);
        }) << QRect(200, 0, 100, 100);
        QTest::newRow("an empty cell takes no room") << build([](layout& l) {
            return l.add(new QWidget, 1, 0);
        }) << QRect(0, 0, 150, 100);
        QTest::newRow("fixed width without margins is centred") << build([=](layout& l) {
            return l.add(new QWidget, {}, (p::width(40), fixed_column(100)));
        }) << QRect(30, 0, 40, 100);
        QTest::newRow("fixed width at the end") << build([=](layout& l) {
            return l.add(new QWidget, {}, (p::margin_right(10), (p::width(40), fixed_column(100))));
        }) << QRect(50, 0, 40, 100);
        QTest::newRow("filling inside margins and padding") << build([](layout& l) {
            return l.add(new QWidget, {}, (p::padding_left(2), (p::margin(5, 6, 7, 8), make_property_vector())));
        }) << QRect(10, 5, 284, 88);
        QTest::newRow("span over a fixed and a flexible column") << build([=](layout& l) {
            l.add(new QWidget, {}, (p::newline, fixed_column(100)));
            return l.add(new QWidget, {}, (p::column_span(2), make_property_vector()));
        }) << QRect(0, 50, 300, 50);
        QTest::newRow("cell column width overrides the column") << build([](layout& l) {
            l.add(new QWidget, {}, (p::cell_column_width(80), make_property_vector()));
            return l.add(new QWidget);
        }) << QRect(80, 0, 150, 100);
        QTest::newRow("offset moves the content only") << build([](layout& l) {
            return l.add(new QWidget, {}, (p::offset(3, 4), make_property_vector()));
        }) << QRect(3, 4, 300, 100);
    }

    void placement()
    {
        QFETCH(build, fill);
        QWidget parent;
        parent.resize(300, 100);
        auto* l = new layout(&parent);
        QWidget* w = fill(*l);
        l->setGeometry(QRect());
        QTEST(w->geometry(), "geometry");
    }

    void the_same_size_is_placed_four_times_more_then_not_until_it_changes()
    {
        QWidget parent;
        parent.resize(300, 100);
        auto* l = new layout(&parent);
        QWidget* w = l->add(new QWidget);
        int placed = 0;
        for (int pass = 0; pass < 8; ++pass) {
            w->move(7, 7);
            l->setGeometry(QRect());
            placed += w->pos() == QPoint(0, 0);
        }
        QCOMPARE(placed, 5);
        parent.resize(200, 100);
        l->setGeometry(QRect());
        QCOMPARE(w->geometry(), QRect(0, 0, 200, 100));
    }

    void counts_content_and_covered_places()
    {
        QWidget parent;
        auto* l = new layout(&parent);
        QWidget* first = l->add(new QWidget, {}, (p::column_span(2), make_property_vector()));
        QWidget* second = l->add(new QWidget, 0, 2);
        // Empty places are filled by the next pass over the spans, which runs before the tables
        // grow: here the one of the next add at the cursor, (2,0).
        QCOMPARE(int(l->cells.size()), 3);
        QWidget* third = l->add(new QWidget);
        // (1,0) is covered; (0,1), (1,1) and (1,2) are plain empty cells.
        QCOMPARE(int(l->cells.size()), 7);
        QCOMPARE(l->count(), 4);
        QCOMPARE(l->itemAt(0)->widget(), first);
        QVERIFY(l->itemAt(1)->widget() == nullptr);
        QCOMPARE(l->itemAt(2)->widget(), third);
        QCOMPARE(l->itemAt(3)->widget(), second);
        QVERIFY(l->itemAt(4) == nullptr);
        QVERIFY(l->itemAt(-1) == nullptr);
        QVERIFY(l->takeAt(0) == nullptr);
        QCOMPARE(l->count(), 4);
    }

    void sizes_sum_the_fixed_tables_with_crossed_hint()
    {
        layout l;
        l.column_widths = {100, 0, 0};
        l.row_heights = {30, 0};
        QCOMPARE(l.minimumSize(), QSize(100, 30));
        QCOMPARE(l.sizeHint(), QSize(50, 140));
    }

    void qt_item_api_is_refused()
    {
        QWidget parent;
        auto* l = new layout(&parent);
        QWidget child;
        QWidgetItem item(&child);
        QVERIFY_EXCEPTION_THROWN(l->addItem(&item), ondo::exception);
        QVERIFY(l->cells.empty());
    }

    void click_callback_sees_its_cell()
    {
        QWidget parent;
        auto* l = new layout(&parent, 2);
        l->add(new QWidget);
        auto* button = l->add(new QPushButton, [] {});
        QPoint seen(-1, -1);
        auto* other = l->add(new QPushButton, [&] {
            seen = QPoint(layout::current_cell->column, layout::current_cell->row);
        });
        other->click();
        QCOMPARE(seen, QPoint(0, 1));
        button->click();
        QCOMPARE(layout::current_cell->widget, static_cast<QWidget*>(button));
    }

    void resize_row_column_needs_both_values_new()
    {
        QWidget window;
        window.resize(300, 200);
        auto* l = new layout(&window, 1);
        QWidget* w = l->add(new QWidget, {}, (p::row_height(50), (p::column_width(100), make_property_vector())));
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        ondo::qt::cell* c = layout::widgets_in_cells.at(w);
        c->resize_row_column(100, 80);
        QCOMPARE(l->row_heights[0], 50);
        QCOMPARE(w->height(), 50);
        c->resize_row_column(120, 80);
        QCOMPARE(l->row_heights[0], 80);
        QCOMPARE(w->size(), QSize(120, 80));
        c->resize_row(60);
        QCOMPARE(w->height(), 60);
        QCOMPARE(window.size(), QSize(300, 200));
    }
};

QTEST_MAIN(tst_layout)
#include "tst_layout.moc"

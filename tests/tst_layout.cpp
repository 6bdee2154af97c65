#include <ondo/layout.h>

#include <QtTest>

#include <functional>

namespace p = ondo::qt::property;
using ondo::make_property_vector;
using ondo::qt::layout;
using build = std::function<QWidget*(layout&)>;
Q_DECLARE_METATYPE(build)

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
    void cursor_data()
    {
        QTest::addColumn<int>("wrap");
        QTest::addColumn<QStringList>("adds");
        QTest::addColumn<QString>("places");
        QTest::newRow("wrap 2") << 2 << QStringList{"", "", ""} << "0,0 1,0 0,1";
        QTest::newRow("span 2 without wrap") << 0 << QStringList{"span", ""} << "0,0 2,0";
        QTest::newRow("newline without wrap") << 0 << QStringList{"", "newline", ""} << "0,0 1,0 0,1";
    }

    void cursor()
    {
        QFETCH(int, wrap);
        QFETCH(QStringList, adds);
        QWidget parent;
        auto* l = new layout(&parent, wrap);
        QStringList places;
        for (const QString& kind : adds) {
            auto* w = new QWidget;
            if (kind == "span")
                l->add(w, {}, (p::column_span(2), make_property_vector()));
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
        l->add(new QWidget, {}, (p::column_span(2), make_property_vector()));
        QWidget* second = l->add(new QWidget, 0, 2);
        QWidget* third = l->add(new QWidget);
        // (1,0) is covered; (0,1), (1,1) and (1,2) are plain empty cells.
        QCOMPARE(l->count(), 4);
        QVERIFY(l->itemAt(1)->widget() == nullptr);
        QCOMPARE(l->itemAt(2)->widget(), third);
        QCOMPARE(l->itemAt(3)->widget(), second);
    }
};

QTEST_MAIN(tst_layout)
#include "tst_layout.moc"

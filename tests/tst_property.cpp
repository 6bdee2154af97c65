#include <ondo/property.h>

#include <QtTest>

namespace p = ondo::qt::property;

class tst_property : public QObject {
    Q_OBJECT
private slots:
    void properties_gather_into_lists()
    {
        std::vector<ondo::property*> list{&p::hide};
        const auto gathered = (p::width(3), (p::disable, std::move(list)));
        QVERIFY(list.empty());
        QCOMPARE(gathered, (std::vector<ondo::property*>{&p::hide, &p::disable, &p::width}));
        // The layout tells kinds apart by id alone, so the globals must be distinct and in order.
        const std::vector<ondo::property*> in_order{&p::margin, &p::margin_top, &p::margin_bottom, &p::margin_left,
            &p::margin_right, &p::padding, &p::padding_top, &p::padding_bottom, &p::padding_left, &p::padding_right,
            &p::width, &p::height, &p::size, &p::style_sheet, &p::background_style_sheet, &p::background_disable,
            &p::row_height, &p::row_span, &p::column_span, &p::column_width, &p::hide, &p::disable,
            &p::cell_column_width, &p::newline, &p::offset_x, &p::offset_y, &p::offset, &p::widget_size,
            &p::widget_size_as_cell_column_width};
        for (std::size_t i = 1; i < in_order.size(); ++i)
            QVERIFY2(in_order[i - 1]->id < in_order[i]->id, qPrintable(QString::number(i)));
    }
};

QTEST_APPLESS_MAIN(tst_property)
#include "tst_property.moc"

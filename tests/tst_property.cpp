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
    }
};

QTEST_APPLESS_MAIN(tst_property)
#include "tst_property.moc"

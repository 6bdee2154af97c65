#include <ondo/layout.h>
#include <ondo/widget_fold.h>

#include <QPushButton>
#include <QtTest>

namespace p = ondo::qt::property;
using ondo::qt::widget_fold;

class tst_widget_fold : public QObject {
    Q_OBJECT
private slots:
    void fold_and_open_again_data()
    {
        QTest::addColumn<QString>("given_button");
        QTest::addColumn<QStringList>("texts");
        QTest::newRow("own button") << QString() << QStringList{"unfold", "fold"};
        QTest::newRow("given button keeps its text") << "Details" << QStringList{"Details", "Details"};
    }

    void fold_and_open_again()
    {
        QFETCH(QString, given_button);
        QFETCH(QStringList, texts);
        QWidget window;
        window.resize(300, 400);
        auto* outer = new ondo::qt::layout(&window, 1);
        auto* fold = new widget_fold("Title", given_button.isEmpty() ? nullptr : new QPushButton(given_button), 0, 25);
        outer->add(fold, {}, (p::row_height(200), ondo::make_property_vector()));
        outer->add(new QWidget);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QTest::mouseClick(fold->button, Qt::LeftButton);
        QCOMPARE(outer->row_heights[0], 25);
        QCOMPARE(fold->button->text(), texts[0]);
        QTest::mouseClick(fold->button, Qt::LeftButton);
        QCOMPARE(outer->row_heights[0], 200);
        QCOMPARE(fold->height(), 200);
        QCOMPARE(fold->button->text(), texts[1]);
    }
};

QTEST_MAIN(tst_widget_fold)
#include "tst_widget_fold.moc"

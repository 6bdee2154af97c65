#include <ondo/widgets.h>

#include <QSignalSpy>
#include <QtTest>

class tst_widgets : public QObject {
    Q_OBJECT
private slots:
    void combobox_wheel_data()
    {
        QTest::addColumn<bool>("ignore_wheel");
        QTest::addColumn<int>("expected_index");
        QTest::newRow("ignoring") << true << 1;
        QTest::newRow("taking") << false << 2;
    }

    void combobox_wheel()
    {
        QFETCH(bool, ignore_wheel);
        ondo::combobox box(ignore_wheel, nullptr);
        box.addItems({"a", "b", "c"});
        box.setCurrentIndex(1);
        box.show();
        const QPoint centre = box.rect().center();
        QWheelEvent wheel(centre, box.mapToGlobal(centre), QPoint(), QPoint(0, -120), Qt::NoButton, Qt::NoModifier,
            Qt::NoScrollPhase, false);
        QApplication::sendEvent(&box, &wheel);
        QTEST(box.currentIndex(), "expected_index");
    }

    void clickable_label_data()
    {
        QTest::addColumn<int>("button");
        QTest::addColumn<int>("clicks");
        QTest::newRow("left") << int(Qt::LeftButton) << 1;
        QTest::newRow("right") << int(Qt::RightButton) << 0;
    }

    void clickable_label()
    {
        QFETCH(int, button);
        QFETCH(int, clicks);
        ondo::clickable_label label("About", true, nullptr);
        label.show();
        QSignalSpy spy(&label, &ondo::clickable_label::clicked);

        Qt::KeyboardModifiers at_click;
        connect(&label, &ondo::clickable_label::clicked, [&] { at_click = label.modifiers; });
        QTest::mouseClick(&label, Qt::MouseButton(button), Qt::ControlModifier);
        QCOMPARE(spy.count(), clicks);
        if (clicks)
            QCOMPARE(at_click, Qt::ControlModifier);
        QCOMPARE(label.modifiers, Qt::NoModifier);
    }
};

QTEST_MAIN(tst_widgets)
#include "tst_widgets.moc"

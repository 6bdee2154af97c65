#include <ondo/widgets.h>

#include <QHBoxLayout>
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

    // Keyboard focus on a radio is drawn in the theme's colours, not in the style's blue.
    void radio_focus_stays_in_the_palette()
    {
        QWidget window;
        window.setStyleSheet("background-color: rgb(47,47,47); color: rgb(198,213,210);");
        auto* layout = new QHBoxLayout(&window);
        auto* before = new QLineEdit(&window);
        auto* radio = new ondo::radio(&window);
        radio->setText("DD.MM.YYYY");
        layout->addWidget(before);
        layout->addWidget(radio);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        before->setFocus();
        QTest::keyClick(before, Qt::Key_Tab);
        QVERIFY(radio->hasFocus());

        const QImage shot = radio->grab().toImage();
        int blue = 0;
        for (int y = 0; y < shot.height(); ++y)
            for (int x = 0; x < shot.width(); ++x) {
                const QColor c = shot.pixelColor(x, y);
                blue += c.blue() - c.red() > 16; // the theme text itself differs by 12
            }
        QCOMPARE(blue, 0);
    }

    void clickable_label_data()
    {
        QTest::addColumn<bool>("clickable");
        QTest::addColumn<int>("button");
        QTest::addColumn<int>("clicks");
        QTest::newRow("clickable, left") << true << int(Qt::LeftButton) << 1;
        QTest::newRow("clickable, right") << true << int(Qt::RightButton) << 0;
        QTest::newRow("plain, left") << false << int(Qt::LeftButton) << 1;
    }

    void clickable_label()
    {
        QFETCH(bool, clickable);
        QFETCH(int, button);
        QFETCH(int, clicks);
        ondo::clickable_label label("About", clickable, nullptr);
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

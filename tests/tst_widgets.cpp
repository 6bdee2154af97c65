#include <ondo/widgets.h>

#include <QSignalSpy>
#include <QtTest>

// The lightest pixel inside the frame of `edit`: the core of its glyphs.
static QRgb lightest_inside(QWidget& edit)
{
    const QImage image = edit.grab().toImage();
    QRgb lightest = 0;
    for (int y = 2; y < image.height() - 2; ++y)
        for (int x = 2; x < image.width() - 2; ++x)
            if (qGray(image.pixel(x, y)) > qGray(lightest))
                lightest = image.pixel(x, y);
    return lightest;
}

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

    // An empty field's placeholder looks like the same text typed, in each state and after the
    // sheet is built anew for a new border colour.
    void lineedit_placeholder_data()
    {
        QTest::addColumn<bool>("enabled");
        QTest::addColumn<bool>("restyled");
        QTest::newRow("enabled") << true << false;
        QTest::newRow("disabled") << false << false;
        QTest::newRow("enabled, restyled") << true << true;
        QTest::newRow("disabled, restyled") << false << true;
    }

    void lineedit_placeholder()
    {
        QFETCH(bool, enabled);
        QFETCH(bool, restyled);
        ondo::lineedit typed;
        typed.setText("0");
        ondo::lineedit empty;
        empty.setPlaceholderText("0");
        for (ondo::lineedit* edit : {&typed, &empty}) {
            edit->resize(60, 22);
            edit->setEnabled(enabled);
            edit->show();
            QVERIFY(QTest::qWaitForWindowExposed(edit));
            if (restyled) {
                edit->border = QColor(200, 0, 0);
                edit->update_style();
            }
        }
        const QRgb text = lightest_inside(typed);
        QVERIFY(qGray(text) > 90);
        QCOMPARE(QColor(lightest_inside(empty)), QColor(text));
    }
};

QTEST_MAIN(tst_widgets)
#include "tst_widgets.moc"

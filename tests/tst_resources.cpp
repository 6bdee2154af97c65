#include <QDirIterator>
#include <QImage>
#include <QtTest>

// The resource lists are kept by hand: a picture that goes missing shows here or as a blank widget.
class tst_resources : public QObject {
    Q_OBJECT
private slots:
    void every_picture_of_the_toolkit_loads()
    {
        const QStringList families{"button", "panel", "radio", "checkbox", "combobox", "fader", "poti",
            "color_cone", "graphics_view", "led", "icons_round_buttons", "icons_small_buttons"};
        for (const QString& family : families) {
            QDirIterator it(":/gui/" + family);
            int pictures = 0;
            while (it.hasNext()) {
                const QString path = it.next();
                QVERIFY2(!QImage(path).isNull(), qPrintable(path));
                ++pictures;
            }
            QVERIFY2(pictures > 0, qPrintable(family));
        }
    }

};

QTEST_MAIN(tst_resources)
#include "tst_resources.moc"

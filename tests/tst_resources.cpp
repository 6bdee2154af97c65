#include <QDirIterator>
#include <QImage>
#include <QtTest>

// The toolkit's resource sets are filled from lists kept by hand beside the artwork drawer and
// the build: a picture or profile that goes missing only shows here, or as a blank widget.
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

    void three_colour_profiles()
    {
        const QStringList names = QDir(":/data/icc").entryList(QDir::Files);
        QCOMPARE(names.size(), 3);
        for (const QString& name : names) {
            QFile profile(":/data/icc/" + name);
            QVERIFY(profile.open(QIODevice::ReadOnly));
            QCOMPARE(profile.read(40).mid(36, 4), QByteArray("acsp"));
        }
    }
};

QTEST_MAIN(tst_resources)
#include "tst_resources.moc"

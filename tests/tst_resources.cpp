#include "test_support.h"

#include <ondo/style.h>

// The resource lists are kept by hand: a picture that goes missing shows here or as a blank widget.
class tst_resources : public QObject {
    Q_OBJECT
private slots:
    // Every picture loads, every family of the toolkit has some, and each finer drawing has a
    // partner at its own density, exactly half as large both ways, or the picture would jump in
    // size between screens.
    void every_picture_loads_at_both_densities()
    {
        QMap<QString, int> pictures;
        for (const QString& family : {"button", "panel", "radio", "checkbox", "combobox", "fader", "poti", "color_cone",
                 "graphics_view", "led", "icons_round_buttons", "icons_small_buttons"})
            pictures[":/gui/" + family] = 0;
        int finer = 0;
        for (const QString& root : {QString(":/gui"), QString(":/images")}) {
            for (QDirIterator it(root, QDir::Files, QDirIterator::Subdirectories); it.hasNext();) {
                const QString path = it.next();
                if (pictures.contains(QFileInfo(path).path())) {
                    QVERIFY2(!QImage(path).isNull(), qPrintable(path));
                    ++pictures[QFileInfo(path).path()];
                }
                if (!path.endsWith("@2x.png"))
                    continue;
                ++finer;
                const QImage plain(QString(path).replace("@2x.png", ".png"));
                QVERIFY2(!plain.isNull(), qPrintable(path));
                QCOMPARE(QImage(path).size(), plain.size() * 2);
            }
        }
        QVERIFY(finer > 0);
        for (auto it = pictures.begin(); it != pictures.end(); ++it)
            QVERIFY2(it.value() > 0, qPrintable(it.key()));
    }

    // This program runs as on a screen scaled by 2 (see main): the window's icons and glyphs come
    // sharp at their own size; a picture without a finer drawing comes as it is.
    void artwork_for_a_dense_screen_data()
    {
        test_support::columns<QString, qreal>({"path", "ratio"});
        for (const char* name : {"icon_fix_time", "icon_undo", "icon_undo_small", "icon_clear_small", "icon_open", "icon_settings",
                 "icon_about", "icon_help", "logo_small", "head_medium_dark_without_shadow", "Head"})
            QTest::newRow(name) << QString(":/images/%1.png").arg(name) << qreal(2);
        for (const char* name : {"radio/checked", "radio/disabled_unchecked", "checkbox/checked", "combobox/arrow"})
            QTest::newRow(name) << QString(":/gui/%1.png").arg(name) << qreal(2);
        QTest::newRow("drop picture, by its anchor") << ":/images/drop_images_here_en.png" << qreal(1);
        QTest::newRow("button frame, stretched") << ":/gui/button/dark_normal.png" << qreal(1);
    }

    void artwork_for_a_dense_screen()
    {
        QFETCH(QString, path);
        QCOMPARE(qApp->devicePixelRatio(), qreal(2));
        const QImage loaded = ondo::load_artwork(path);
        QTEST(loaded.devicePixelRatio(), "ratio");
        QCOMPARE(loaded.size(), QImage(path).size() * loaded.devicePixelRatio());
    }
};

int main(int argc, char** argv)
{
    // Pictures are asked for as on a screen scaled by 2.
    qputenv("QT_SCALE_FACTOR", "2");
    QApplication app(argc, argv);
    tst_resources test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_resources.moc"

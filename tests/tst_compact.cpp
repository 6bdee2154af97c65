#include <recording_tags.h>

#include <ondo/misc.h>
#include <ondo/packed_tags.h>

#include <QtTest>

// What a table of 100,000 files keeps per file, packed, and sorts by: packing must give back
// every text exactly, and the sort keys must order as the comparison they stand for.
class tst_compact : public QObject {
    Q_OBJECT
private slots:
    void packing_gives_back_every_text_data()
    {
        QTest::addColumn<QStringList>("texts");
        QTest::newRow("dates") << QStringList{"ExifIFD:DateTimeOriginal", "2017:06:21 18:30:05",
                                              "System:FileModifyDate", "2017:06:21 18:30:05+02:00"};
        QTest::newRow("null beside empty") << QStringList{"a", QString(), "b", ""};
        QTest::newRow("beyond Latin-1") << QStringList{"XMP-dc:Title", "Straße Ü 日本 😀", "IPTC:City", QString(QChar(0xD800))};
        QTest::newRow("long") << QStringList{"XMP-x:Date", QString(300, QChar(0xFF)), "XMP-x:Other", QString(200, 'x')};
    }

    void packing_gives_back_every_text()
    {
        QFETCH(QStringList, texts);
        exif_tag_map tags;
        for (int i = 0; i + 1 < texts.size(); i += 2)
            tags[texts.at(i)] = texts.at(i + 1);
        const ondo::packed_tags packed(tags);
        QCOMPARE(packed.unpacked(), tags);
        QCOMPARE(packed.size(), int(tags.size()));
        for (const auto& [tag, value] : tags) {
            QVERIFY(packed.contains(tag));
            QCOMPARE(packed.value(tag), value);
            QCOMPARE(packed.value(tag).isNull(), value.isNull());
        }
        QVERIFY(!packed.contains("never:Seen"));
        const ondo::packed_tags changed = packed.with(texts.first(), QString()).with("new:Tag", "1");
        QVERIFY(!changed.contains(texts.first()) && changed.value("new:Tag") == "1");

        const QStringList unpacked = ondo::packed_list(texts).unpacked();
        QCOMPARE(unpacked, texts);
        for (int i = 0; i < texts.size(); ++i)
            QCOMPARE(unpacked.at(i).isNull(), texts.at(i).isNull());

        QList<undo_entry> undo;
        for (int i = 0; i + 1 < texts.size(); i += 2)
            undo.append({texts.at(i), i % 4 == 0, texts.at(i + 1), i % 4 == 0 ? QString() : texts.at(i), i > 0});
        const QList<undo_entry> back = packed_undo(undo).entries();
        QCOMPARE(back.size(), undo.size());
        for (int i = 0; i < undo.size(); ++i) {
            QCOMPARE(back.at(i).tag + back.at(i).value + back.at(i).written, undo.at(i).tag + undo.at(i).value + undo.at(i).written);
            QCOMPARE(back.at(i).written.isNull(), undo.at(i).written.isNull());
            QCOMPARE(back.at(i).existed, undo.at(i).existed);
            QCOMPARE(back.at(i).checked, undo.at(i).checked);
        }
    }

    // Every pair of names: where the keys tell two apart, they say what the comparison says, and
    // so do their heads.
    void keys_order_as_the_comparison_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::newRow("C") << "C";
        QTest::newRow("de_DE") << "de_DE";
        QTest::newRow("sv_SE") << "sv_SE";
    }

    void keys_order_as_the_comparison()
    {
        QFETCH(QString, locale);
        QCollator collator{QLocale(locale)};
        collator.setCaseSensitivity(Qt::CaseInsensitive);
        const QStringList names = {"photo_10.jpg", "photo_2.jpg", "Photo_2.jpg", "photo_02.jpg", "IMG_0001.JPG",
                                   "img_1.jpg", "Äpfel.jpg", "apfel.jpg", "Zebra", "_x", "1abc", "abc", "abc1",
                                   "abc01", "a 1", "a1", "a-1", "12345678901234567890123", "12345678901234567890124",
                                   "x\u0663", "", "DSC_0001.NEF", "DSC_0001.JPG", "Strand Ü 01", "Ödland", "zz", "0",
                                   "/trip/2024-06-21 Strand/IMG_7.JPG", "/trip/2024-06-21/IMG_7.JPG", "9", "10"};
        ondo::natural_keys keys(collator);
        for (const QString& name : names)
            keys.add(name);
        for (int a = 0; a < names.size(); ++a) {
            for (int b = 0; b < names.size(); ++b) {
                const int by_keys = keys.compare(a, b);
                const int expected = ondo::compare_qstring_naturally(names.at(a), names.at(b), collator);
                const QString pair = names.at(a) + " | " + names.at(b);
                if (by_keys != 0)
                    QCOMPARE(pair + QString::number(by_keys), pair + QString::number(expected < 0 ? -1 : 1));
                if (keys.head(a) != keys.head(b))
                    QCOMPARE(keys.head(a) < keys.head(b), by_keys < 0);
            }
        }
    }
};

QTEST_APPLESS_MAIN(tst_compact)
#include "tst_compact.moc"

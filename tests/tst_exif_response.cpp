#include <ondo/exif_response.h>

#include <QSignalSpy>
#include <QtTest>

using ondo::exif_error;
using ondo::exif_response;

class tst_exif_response : public QObject {
    Q_OBJECT
private slots:
    // Each letter is one step: R mark_ready, E mark_error(timeout), T timeout(), A abort(none),
    // a abort(timeout), X the aborted flag set from outside, W await (which must give up at once).
    void marks_data()
    {
        QTest::addColumn<QString>("steps");
        QTest::addColumn<bool>("ready");
        QTest::addColumn<int>("error");
        QTest::addColumn<int>("error_signals");
        QTest::addColumn<int>("finished_signals");

        QTest::newRow("ready") << "R" << true << int(exif_error::none) << 0 << 1;
        QTest::newRow("time limit after ready") << "RT" << true << int(exif_error::none) << 0 << 1;
        QTest::newRow("time limit first") << "T" << false << int(exif_error::timeout) << 1 << 1;
        QTest::newRow("error after ready") << "RE" << false << int(exif_error::timeout) << 1 << 2;
        QTest::newRow("ready late") << "TR" << true << int(exif_error::timeout) << 1 << 2;
        QTest::newRow("abort without reason") << "A" << false << int(exif_error::aborted) << 1 << 1;
        QTest::newRow("abort with reason") << "a" << false << int(exif_error::timeout) << 1 << 1;
        QTest::newRow("aborted ignores marks, await gives up") << "XRETW" << false << int(exif_error::none) << 0 << 0;
    }

    void marks()
    {
        QFETCH(QString, steps);
        exif_response response;
        QSignalSpy errors(&response, &exif_response::error);
        QSignalSpy finished(&response, &exif_response::finished);
        QSignalSpy readies(&response, &exif_response::ready);
        for (const QChar step : steps) {
            switch (step.toLatin1()) {
            case 'R': response.mark_ready(); break;
            case 'E': response.mark_error(exif_error::timeout); break;
            case 'T': response.timeout(); break;
            case 'A': response.abort(exif_error::none); break;
            case 'a': response.abort(exif_error::timeout); break;
            case 'X': response.aborted_flag = true; break;
            case 'W': QVERIFY(!response.await(60000)); break;
            }
        }
        QTEST(response.is_ready(), "ready");
        QTEST(int(response.get_error()), "error");
        QTEST(int(errors.count()), "error_signals");
        QTEST(int(finished.count()), "finished_signals");
        if (!readies.isEmpty())
            QCOMPARE(readies.first().first().value<exif_response*>(), &response);
    }

    void time_limit_is_armed_once()
    {
        exif_response response;
        QSignalSpy errors(&response, &exif_response::error);
        response.await_async(50);
        response.await_async(60000);
        QTRY_COMPARE_WITH_TIMEOUT(errors.count(), 1, 2000);
    }
};

QTEST_GUILESS_MAIN(tst_exif_response)
#include "tst_exif_response.moc"

#include <ondo/threaded_process.h>

#include <QtTest>

#include <algorithm>
#include <mutex>
#include <set>
#include <thread>

namespace {

QList<QRect> sorted(QList<QRect> list)
{
    std::sort(list.begin(), list.end(), [](const QRect& a, const QRect& b) {
        return std::make_pair(a.top(), a.left()) < std::make_pair(b.top(), b.left());
    });
    return list;
}

} // namespace

class tst_threaded_process : public QObject {
    Q_OBJECT
private slots:
    void strips_data()
    {
        QTest::addColumn<QRect>("area");
        QTest::addColumn<bool>("split_columns");
        QTest::addColumn<int>("core_count");
        QTest::addColumn<QList<QRect>>("expected");
        QTest::newRow("10 rows in 4") << QRect(0, 0, 5, 10) << false << 4
                                      << QList<QRect>{QRect(0, 0, 5, 2), QRect(0, 2, 5, 2), QRect(0, 4, 5, 2), QRect(0, 6, 5, 4)};
        QTest::newRow("fewer rows than strips") << QRect(3, 5, 4, 3) << false << 4 << QList<QRect>{QRect(3, 5, 4, 3)};
        QTest::newRow("one strip") << QRect(0, 0, 8, 8) << false << 1 << QList<QRect>{QRect(0, 0, 8, 8)};
        // Column strips start at the coordinate of the top edge, not the left one.
        QTest::newRow("columns start at the top edge") << QRect(10, 2, 8, 4) << true << 2
                                                       << QList<QRect>{QRect(2, 2, 4, 4), QRect(6, 2, 12, 4)};
    }

    void strips()
    {
        QFETCH(QRect, area);
        QFETCH(bool, split_columns);
        QFETCH(int, core_count);
        std::mutex mutex;
        QList<QRect> seen;
        std::set<std::thread::id> threads;
        ondo::threaded_process(area, [&](QRect strip) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            std::lock_guard<std::mutex> guard(mutex);
            seen << strip;
            threads.insert(std::this_thread::get_id());
        }, split_columns, core_count);
        // Every strip is done when the call returns, and none ran on the calling thread.
        QTEST(sorted(seen), "expected");
        QVERIFY(threads.count(std::this_thread::get_id()) == 0);
    }
};

QTEST_GUILESS_MAIN(tst_threaded_process)
#include "tst_threaded_process.moc"

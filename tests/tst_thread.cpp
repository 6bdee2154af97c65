#include <ondo/thread.h>

#include <QElapsedTimer>
#include <QtTest>

#include <atomic>

class tst_thread : public QObject {
    Q_OBJECT

private slots:
    void queued_task_runs_without_waiting_for_the_poll()
    {
        ondo::thread_pool<void> pool(2);
        QTest::qWait(150); // both threads are inside their one-second wait now
        std::atomic<bool> ran{false};
        QElapsedTimer clock;
        clock.start();
        pool.enqueue([&](ondo::thread&) { ran = true; });
        QTRY_VERIFY_WITH_TIMEOUT(ran, 2000);
        QVERIFY2(clock.elapsed() < 500, qPrintable(QString::number(clock.elapsed())));
    }

    void destroyed_pool_runs_queued_tasks_first_data()
    {
        QTest::addColumn<int>("threads");
        QTest::addColumn<int>("done");
        QTest::newRow("one thread") << 1 << 4;
        QTest::newRow("pool of zero runs nothing") << 0 << 0;
    }

    void destroyed_pool_runs_queued_tasks_first()
    {
        QFETCH(int, threads);
        std::atomic<int> done{0};
        std::atomic<bool> release{false};
        {
            ondo::thread_pool<void> pool(threads);
            pool.enqueue([&](ondo::thread&) {
                while (!release)
                    std::this_thread::sleep_for(std::chrono::milliseconds(5));
                ++done;
            });
            for (int i = 0; i < 3; ++i)
                pool.enqueue([&](ondo::thread&) { ++done; });
            release = true;
        }
        QTEST(done.load(), "done");
    }

    void sleep_double_truncates_data()
    {
        QTest::addColumn<double>("seconds");
        QTest::addColumn<int>("min_ms");
        QTest::addColumn<int>("max_ms");
        QTest::newRow("negative") << -2.5 << 0 << 200;
        QTest::newRow("fraction dropped") << 1.9 << 990 << 1500;
    }

    void sleep_double_truncates()
    {
        QFETCH(double, seconds);
        QFETCH(int, min_ms);
        QFETCH(int, max_ms);
        QElapsedTimer clock;
        clock.start();
        ondo::sleep_double(seconds);
        QVERIFY2(clock.elapsed() >= min_ms && clock.elapsed() <= max_ms, qPrintable(QString::number(clock.elapsed())));
    }
};

QTEST_GUILESS_MAIN(tst_thread)
#include "tst_thread.moc"

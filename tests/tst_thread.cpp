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

    void destroyed_pool_runs_queued_tasks_first()
    {
        std::atomic<int> done{0};
        std::atomic<bool> release{false};
        {
            ondo::thread_pool<void> pool(1);
            pool.enqueue([&](ondo::thread&) {
                while (!release)
                    std::this_thread::sleep_for(std::chrono::milliseconds(5));
                ++done;
            });
            for (int i = 0; i < 3; ++i)
                pool.enqueue([&](ondo::thread&) { ++done; });
            release = true;
        }
        QCOMPARE(done.load(), 4);
    }
};

QTEST_GUILESS_MAIN(tst_thread)
#include "tst_thread.moc"

#include <ondo/thread.h>

#include <QtTest>

#include <atomic>

class tst_thread : public QObject {
    Q_OBJECT

private slots:
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

#include "photo_lock.h"

#include "test_support.h"

#include <cstdio>
#include <memory>
#include <vector>

#include <unistd.h>

namespace {

const char* hold_mode = "--hold-locks";

// The other copy: locks the paths after the folder (in hex, so that any name travels whole),
// answers "held" or "refused" for each and keeps its locks until its input closes.
int hold_locks(int argc, char** argv)
{
    const QString folder = QString::fromUtf8(QByteArray::fromHex(argv[2]));
    std::vector<std::unique_ptr<photo_lock>> held;
    for (int i = 3; i < argc; ++i) {
        held.push_back(photo_lock::try_lock(QString::fromUtf8(QByteArray::fromHex(argv[i])), folder));
        std::puts(held.back() ? "held" : "refused");
    }
    std::fflush(stdout);
    while (std::getchar() != EOF) {
    }
    // Given back here, then gone at once, without waiting for the libraries' threads to wind down.
    held.clear();
    ::_exit(0);
}

} // namespace

// Locks taken by this process and by other copies, which are this program started anew.
class tst_photo_lock : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        dir = std::make_unique<QTemporaryDir>();
        QVERIFY(QDir(dir->path()).mkdir("photos"));
        // Not there yet: the first lock makes it.
        folder = dir->filePath("state/locks");
    }

    void cleanup()
    {
        for (QProcess* copy : copies) {
            copy->kill();
            copy->waitForFinished();
        }
        qDeleteAll(copies);
        copies.clear();
    }

    // This copy holds the photo `name`; another asking for `asked` (the photo if empty; a link and
    // its photo are one) gets `answer`, then the lock once it is given back or its holder dies.
    void a_second_copy_waits_its_turn_data()
    {
        test_support::columns<QString, QString, QString>({"name", "asked", "answer"});
        QTest::newRow("plain") << "p.jpg" << "" << "refused";
        QTest::newRow("beyond ASCII") << "Grüße 日本.jpg" << "" << "refused";
        QTest::newRow("a link to it") << "p.jpg" << "link.jpg" << "refused";
        QTest::newRow("a detour to it") << "p.jpg" << "photos/../photos/./p.jpg" << "refused";
        QTest::newRow("another photo") << "p.jpg" << "q.jpg" << "held";
        QTest::newRow("a photo not there") << "p.jpg" << "gone.jpg" << "held";
    }

    void a_second_copy_waits_its_turn()
    {
        QFETCH(QString, name);
        QFETCH(QString, asked);
        QFETCH(QString, answer);
        const QString photo = make_photo(name), other = asked.isEmpty() ? photo : dir->filePath(asked);
        QVERIFY(QFile::link(photo, dir->filePath("link.jpg")) && QFile::copy(photo, dir->filePath("q.jpg")));
        {
            const auto lock = photo_lock::try_lock(photo, folder);
            QVERIFY(lock);
            QCOMPARE(other_copy({other}), QStringList({answer}));
            QCOMPARE(bool(photo_lock::try_lock(other, folder)), answer == "held");
        }
        QCOMPARE(other_copy({other}), QStringList({"held"}));

        QProcess* dying = start_copy({other});
        QVERIFY(answers(dying, 1) == QStringList({"held"}));
        QCOMPARE(bool(photo_lock::try_lock(photo, folder)), answer == "held");
        dying->kill();
        QVERIFY(dying->waitForFinished());
        QVERIFY(photo_lock::try_lock(other, folder));
        // Nothing is made per photo, neither beside it nor among the locks.
        const auto all = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
        QCOMPARE(QDir(folder).entryList(all), QStringList({"photos"}));
        QCOMPARE(QDir(dir->filePath("photos")).entryList(all), QStringList({name}));
        QCOMPARE(test_support::contents(photo), QByteArray("photo"));
    }

    // Rather than refusing every photo, the program then works as one copy alone does.
    void an_unusable_folder_keeps_no_one_away()
    {
        const QString photo = make_photo("p.jpg");
        const QString blocked = dir->filePath("photos/p.jpg/locks");
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("Photos can't be locked in .*photos/p.jpg/locks"));
        const auto first = photo_lock::try_lock(photo, blocked);
        const auto second = photo_lock::try_lock(photo, blocked);
        QVERIFY(first && second);
        QVERIFY(QFileInfo(photo).isFile());
    }

private:
    QString make_photo(const QString& name)
    {
        const QString path = dir->filePath("photos/" + name);
        return test_support::write_file(path, "photo") ? path : QString();
    }

    // A copy that locks `paths` and keeps them until its input closes.
    QProcess* start_copy(const QStringList& paths)
    {
        QStringList arguments = {hold_mode, folder.toUtf8().toHex()};
        for (const QString& path : paths)
            arguments << path.toUtf8().toHex();
        copies << new QProcess;
        copies.last()->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        copies.last()->start(QCoreApplication::applicationFilePath(), arguments);
        copies.last()->waitForStarted(); // one that didn't start gives no answers
        return copies.last();
    }

    // Its first `count` answers, once they are all there.
    QStringList answers(QProcess* copy, int count)
    {
        QByteArray out;
        const auto all = [&] { return (out += copy->readAllStandardOutput()).count('\n') >= count; };
        return QTest::qWaitFor(all, 10000) ? QString::fromLatin1(out).split('\n', Qt::SkipEmptyParts) : QStringList();
    }

    // What a copy that asks for `paths` is told; it ends at once, giving back what it got.
    QStringList other_copy(const QStringList& paths)
    {
        QProcess* copy = start_copy(paths);
        const QStringList told = answers(copy, paths.size());
        copy->closeWriteChannel();
        copy->waitForFinished();
        return told;
    }

    std::unique_ptr<QTemporaryDir> dir;
    QString folder;
    QList<QProcess*> copies;
};

int main(int argc, char** argv)
{
    if (argc >= 3 && qstrcmp(argv[1], hold_mode) == 0)
        return hold_locks(argc, argv);
    QCoreApplication app(argc, argv);
    tst_photo_lock test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_photo_lock.moc"

#include "photo_lock.h"

#include "test_support.h"

#include <cstdio>
#include <memory>

#include <unistd.h>

namespace {

const char* hold_mode = "--hold-lock";

// The other copy: locks the photo after the folder (both in hex, so that any name travels whole),
// answers "held" or "refused" and keeps its lock until its input closes.
int hold_lock(char** argv)
{
    const auto text = [](const char* hex) { return QString::fromUtf8(QByteArray::fromHex(hex)); };
    auto held = photo_lock::try_lock(text(argv[3]), text(argv[2]));
    std::puts(held ? "held" : "refused");
    std::fflush(stdout);
    while (std::getchar() != EOF) {
    }
    // Given back here, then gone at once, without waiting for the libraries' threads to wind down.
    held.reset();
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
    // its photo are one) gets `answer`, then the lock once it is given back or its holder dies. Where
    // no lock can be kept, every copy works as one copy alone does rather than refusing every photo.
    void a_second_copy_waits_its_turn_data()
    {
        test_support::columns<QString, QString, QString>({"name", "asked", "answer"});
        QTest::newRow("plain") << "p.jpg" << "" << "refused";
        QTest::newRow("beyond ASCII") << "Grüße 日本.jpg" << "" << "refused";
        QTest::newRow("a link to it") << "p.jpg" << "link.jpg" << "refused";
        QTest::newRow("a detour to it") << "p.jpg" << "photos/../photos/./p.jpg" << "refused";
        QTest::newRow("another photo") << "p.jpg" << "q.jpg" << "held";
        QTest::newRow("a photo not there") << "p.jpg" << "gone.jpg" << "held";
        QTest::newRow("no lock can be kept") << "p.jpg" << "" << "held";
    }

    void a_second_copy_waits_its_turn()
    {
        const auto [name, asked, answer] =
            test_support::fetched<QString, QString, QString>({"name", "asked", "answer"});
        const QString photo = dir->filePath("photos/" + name), other = asked.isEmpty() ? photo : dir->filePath(asked);
        QVERIFY(test_support::write_file(photo, "photo"));
        const bool unusable = asked.isEmpty() && answer == "held";
        if (unusable) { // the folder for the locks would be inside the photo
            folder = photo + "/locks";
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression("Photos can't be locked in .*photos/p.jpg/locks"));
        }
        QVERIFY(QFile::link(photo, dir->filePath("link.jpg")) && QFile::copy(photo, dir->filePath("q.jpg")));
        {
            const auto lock = photo_lock::try_lock(photo, folder);
            QVERIFY(lock);
            QCOMPARE(other_copy(other), answer);
            QCOMPARE(bool(photo_lock::try_lock(other, folder)), answer == "held");
        }
        QCOMPARE(other_copy(other), QString("held"));

        QProcess* dying = start_copy(other);
        QCOMPARE(answer_of(dying), QString("held"));
        QCOMPARE(bool(photo_lock::try_lock(photo, folder)), answer == "held");
        dying->kill();
        QVERIFY(dying->waitForFinished());
        QVERIFY(photo_lock::try_lock(other, folder));
        // Nothing is made per photo, neither beside it nor among the locks.
        const auto all = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
        QCOMPARE(QDir(folder).entryList(all), unusable ? QStringList() : QStringList({"photos"}));
        QCOMPARE(QDir(dir->filePath("photos")).entryList(all), QStringList({name}));
        QCOMPARE(test_support::contents(photo), QByteArray("photo"));
    }

private:
    // A copy that locks `photo` and keeps it until its input closes.
    QProcess* start_copy(const QString& photo)
    {
        copies << new QProcess;
        copies.last()->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        copies.last()->start(QCoreApplication::applicationFilePath(),
                             {hold_mode, folder.toUtf8().toHex(), photo.toUtf8().toHex()});
        copies.last()->waitForStarted(); // one that didn't start gives no answer
        return copies.last();
    }

    // Its answer, once it is there; empty if none comes.
    static QString answer_of(QProcess* copy)
    {
        (void)QTest::qWaitFor([copy] { return copy->canReadLine(); }, 10000);
        return QString::fromLatin1(copy->readLine()).trimmed();
    }

    // What a copy that asks for `photo` is told; it ends at once, giving back what it got.
    QString other_copy(const QString& photo)
    {
        QProcess* copy = start_copy(photo);
        const QString told = answer_of(copy);
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
    if (argc == 4 && qstrcmp(argv[1], hold_mode) == 0)
        return hold_lock(argv);
    QCoreApplication app(argc, argv);
    tst_photo_lock test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_photo_lock.moc"

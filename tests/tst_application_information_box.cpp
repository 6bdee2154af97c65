#include <ondo/application_information_box.h>
#include <ondo/git_version.h>

#include "test_support.h"

#include <QApplication>
#include <QDialog>
#include <QLabel>
#include <QRegularExpression>
#include <QShortcut>
#include <QSysInfo>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>
#include <QtTest>

class tst_application_information_box : public QObject {
    Q_OBJECT

private slots:
    // All three components come from this one repository, so they carry one revision.
    void versions_formatted()
    {
        const QString revision = QString::fromStdString(git_version::version());
        QCOMPARE(QString::fromStdString(git_version::versions_formatted()),
            QString("Component: application\tVersion: %1\nComponent: ondo_infrastructure\tVersion: %1\n"
                    "Component: ondo_toolkit\tVersion: %1\n").arg(revision));
    }

    void box_on_shortcut()
    {
        QWidget parent;
        ondo::application_information_box::install(&parent, {{"b", "2"}, {"a", "1"}});
        auto* shortcut = parent.findChild<QShortcut*>();
        QVERIFY(shortcut);
        // Where the text after each tab begins, per line.
        QList<qreal> columns;
        const auto seen = test_support::answer_next_box("OK", [&](QDialog* box) {
            auto* label = box->findChild<QLabel*>("qt_msgbox_label");
            const QTextDocument* document = label ? label->findChild<QTextDocument*>() : nullptr;
            if (!document)
                return;
            for (QTextBlock block = document->begin(); block.isValid(); block = block.next()) {
                const int tab = block.text().indexOf('\t');
                if (tab >= 0 && block.text().startsWith("Component: "))
                    columns << block.layout()->lineAt(0).cursorToX(tab + 1);
            }
        });
        QMetaObject::invokeMethod(shortcut, "activated");
        // The versions stand in one column, whatever the length of the component's name.
        QCOMPARE(columns.size(), 3);
        QCOMPARE(columns.at(1), columns.at(0));
        QCOMPARE(columns.at(2), columns.at(0));
        QCOMPARE(seen->title, QString("Application Information"));
        const QRegularExpression text("^OS: " + QRegularExpression::escape(QSysInfo::prettyProductName()) + "\nABI: "
            + QRegularExpression::escape(QSysInfo::buildAbi()) + "\n(gcc|clang) Version: \"\\d+\\.\\d+\\.\\d+\"\n\n"
            "Application: Tavimo\nVersion: 2\\.1\\.2\nBuild: [A-Z][a-z]{2} [ 1-3]\\d \\d{4} \\d\\d:\\d\\d:\\d\\d\n\n"
            + QRegularExpression::escape(QString::fromStdString(git_version::versions_formatted())) + "\na:\t\t1\nb:\t\t2\n$");
        QVERIFY2(text.match(seen->text).hasMatch(), qPrintable(seen->text));
    }
};

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QCoreApplication::setApplicationName("Tavimo");
    QCoreApplication::setApplicationVersion("2.1.2");
    tst_application_information_box test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_application_information_box.moc"

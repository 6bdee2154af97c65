#include "message_box_answerer.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QElapsedTimer>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QTimer>

namespace test_support {

namespace {

QString plain(QString text) { return text.remove('&'); }

void answer(QDialog* dialog, const QString& wanted, seen_box& seen)
{
    seen.title = dialog->windowTitle();
    QAbstractButton* default_button = nullptr;
    if (auto* box = qobject_cast<QMessageBox*>(dialog)) {
        seen.text = box->text();
        default_button = box->defaultButton();
        if (default_button)
            seen.default_button = plain(default_button->text());
    }
    QAbstractButton* chosen = wanted == "default" ? default_button : nullptr;
    const auto buttons = dialog->findChildren<QAbstractButton*>();
    for (QAbstractButton* b : buttons) {
        if (!b->isVisible())
            continue;
        seen.buttons << plain(b->text());
        if (!chosen && plain(b->text()) == wanted)
            chosen = b;
    }
    seen.answered = true;
    if (wanted == "close")
        dialog->close();
    else if (chosen)
        chosen->click();
    else {
        qWarning("answer_next_box: no button \"%s\" among %s; closing the dialog", qPrintable(wanted),
            qPrintable(seen.buttons.join(", ")));
        dialog->close();
    }
}

} // namespace

QSharedPointer<seen_box> answer_next_box(const QString& wanted, std::function<void(QDialog*)> prepare,
    int timeout_ms)
{
    auto seen = QSharedPointer<seen_box>::create();
    auto* timer = new QTimer(qApp);
    auto* clock = new QElapsedTimer;
    clock->start();
    // A modal dialog that was already up when the call was made isn't the one meant.
    QPointer<QWidget> before = QApplication::activeModalWidget();
    timer->setInterval(10);
    QObject::connect(timer, &QTimer::timeout, timer, [=]() {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (seen->cancelled) {
            timer->stop();
        } else if (dialog && dialog != before && dialog->isVisible()) {
            timer->stop();
            if (prepare)
                prepare(dialog);
            answer(dialog, wanted, *seen);
        } else if (clock->elapsed() > timeout_ms) {
            timer->stop();
            qWarning("answer_next_box: no dialog came up within %d ms", timeout_ms);
        } else {
            return;
        }
        timer->deleteLater();
        delete clock;
    });
    timer->start();
    return seen;
}

} // namespace test_support

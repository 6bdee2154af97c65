#include "run_note.h"

#include <QSizePolicy>

run_note::run_note(QWidget* parent) : QLabel(parent)
{
    setObjectName("run_note");
    setStyleSheet("run_note { color: rgb(198,213,210); background: none; }"
                  "QToolTip { color: rgb(198,213,210); background-color: rgb(47,47,47); border: 1px solid rgb(99,99,99); }");
    // A long note must not widen the window: it is cut at the strip's end, and the tool tip
    // holds all of it.
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    setTextFormat(Qt::PlainText);
}

void run_note::show_after_fix(int changed, int failed, int left, int sidecars)
{
    const QString photos = sidecars > 0
        ? tr("%1 and %2 changed.").arg(tr("%n photos", nullptr, changed), tr("%n sidecars", nullptr, sidecars))
        : tr("%n photos changed.", nullptr, changed);
    QString text = changed > 0 || sidecars > 0 ? photos + ' ' + tr("Undo is possible until Tavimo closes.")
                                               : tr("No photos changed.");
    if (failed > 0)
        text += ' ' + tr("%n files could not be changed.", nullptr, failed);
    if (left > 0)
        text += ' ' + tr("%n files left as they were.", nullptr, left);
    show_text(text);
}

void run_note::show_after_undo(int restored, int failed)
{
    QString text = tr("Undo done: %n photos as before.", nullptr, restored);
    if (failed > 0)
        text += ' ' + tr("%n files could not be restored.", nullptr, failed);
    show_text(text);
}

void run_note::clear()
{
    QLabel::clear();
    setToolTip(QString());
}

void run_note::show_text(const QString& text)
{
    setText(text);
    setToolTip(text);
}

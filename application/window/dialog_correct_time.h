#pragma once

#include "recording_tags.h"

#include <QDateTime>
#include <QDialog>

#include <optional>

class QDateTimeEdit;

// Asks when one photo was really taken, starting from its recording time, and yields the offset
// that moves that recording time exactly there. The usual way to learn a camera's error: a photo
// of a clock, or one whose time is known.
class dialog_correct_time : public QDialog {
    Q_OBJECT
public:
    // `format` is the table's display format; the field always shows seconds.
    dialog_correct_time(QWidget* parent, const QString& name, const QDateTime& recorded, const QString& format);

    // The offset for the entered time; set once the dialog was accepted.
    recording_tags::shift shift() const { return result; }

    // The offset by which the table moves `from` exactly to `to` (both local times): whole days,
    // then hours, minutes and seconds, all with the sign of the whole offset. Years and months
    // stay 0, as days reach every date. Nothing when either time is invalid or out of reach.
    static std::optional<recording_tags::shift> shift_between(const QDateTime& from, const QDateTime& to);

public slots:
    // Keeps the dialog open, with a word why, when the entered time can't be reached.
    void accept() override;

protected:
    void showEvent(QShowEvent* event) override;

private:
    QDateTimeEdit* edit;
    QDateTime recorded;
    recording_tags::shift result;
};

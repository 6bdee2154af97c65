#include "dialog_correct_time.h"

#include <ondo/message_box.h>
#include <ondo/widgets.h>

#include <QDateTimeEdit>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QTimer>

#include <limits>

dialog_correct_time::dialog_correct_time(QWidget* parent, const QString& name, const QDateTime& recorded,
                                         const QString& format)
    : QDialog(parent), recorded(recorded)
{
    setWindowTitle(tr("Set the correct time of this photo"));
    setWindowFlags(windowFlags() & ~Qt::WindowContextHelpButtonHint);
    setStyleSheet(
        "* {background-color: rgb(47,47,47); color: rgb(198,213,210);}"
        "QPushButton {padding: 0.25ex 1em; min-width: 4em; border-style: none; border-width: 3px;"
        "border-image: url(:/gui/button/dark_normal.png) 3 stretch;}"
        "QPushButton::pressed {border-image: url(:/gui/button/dark_pressed.png) 3 stretch;}"
        "QPushButton::hover, QPushButton::focus {color: #f0f0f0;}"
        "QDateTimeEdit {border: 1px solid rgb(99,99,99); background-color: rgb(38,38,38); padding: 3px;"
        "selection-background-color: rgb(198,213,210); selection-color: #000;}"
        "QDateTimeEdit::focus {border-color: rgb(198,213,210);}"
        "QToolTip {border: 1px solid rgb(99,99,99); background-color: rgb(47,47,47);}");

    auto* outer = new QGridLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    auto* inner = new QGridLayout();
    inner->setContentsMargins(14, 12, 14, 12);
    inner->setHorizontalSpacing(10);
    inner->setVerticalSpacing(10);
    outer->addWidget(new ondo::panel(inner, false, this), 0, 0);

    auto* intro = new QLabel(tr("When was %1 really taken? Enter the true time of this photo, for example the time "
                                "on the clock it shows.")
                                 .arg(name),
                             this);
    intro->setTextFormat(Qt::PlainText);
    intro->setWordWrap(true);
    inner->addWidget(intro, 0, 0, 1, 2);

    inner->addWidget(new QLabel(tr("Camera time:"), this), 1, 0);
    auto* camera = new QLabel(recorded.toString(format), this);
    camera->setTextInteractionFlags(Qt::TextSelectableByMouse);
    inner->addWidget(camera, 1, 1);

    auto* label = new QLabel(tr("Correct time:"), this);
    inner->addWidget(label, 2, 0);
    edit = new QDateTimeEdit(this);
    edit->setObjectName("datetimeedit_correct");
    // Seconds always: the offset is exact to the second.
    edit->setDisplayFormat(format.contains("ss") ? format : format + ":ss");
    // Wall-clock fields without daylight saving rules of their own; the local clock is applied
    // on OK, where a skipped hour can be named.
    edit->setTimeSpec(Qt::UTC);
    edit->setDateTime(QDateTime(recorded.date(), recorded.time(), Qt::UTC));
    // Typed or stepped with the arrow keys; the style's spin arrows don't fit the flat look.
    edit->setButtonSymbols(QAbstractSpinBox::NoButtons);
    label->setBuddy(edit);
    inner->addWidget(edit, 2, 1);

    auto* note = new QLabel(tr("Every photo in the list moves by the same offset. The time zone field stays as it "
                               "is."),
                            this);
    note->setWordWrap(true);
    inner->addWidget(note, 3, 0, 1, 2);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    // Plain labels, as in the message boxes.
    for (QAbstractButton* button : buttons->buttons())
        button->setIcon(QIcon());
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    inner->addWidget(buttons, 4, 0, 1, 2);

    edit->setFocus();
    setFixedWidth(440);
}

void dialog_correct_time::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    // The hour is what a wrong camera clock most often gets wrong; after the field has taken
    // the focus, which selects its first section.
    QTimer::singleShot(0, edit, [this] { edit->setSelectedSection(QDateTimeEdit::HourSection); });
}

void dialog_correct_time::accept()
{
    const QDateTime entered(edit->date(), edit->time(), Qt::LocalTime);
    if (!entered.isValid()) {
        ondo::message_box::warning(this, windowTitle(),
            tr("This computer's clock skips %1: daylight saving time begins then. Please enter a time outside the "
               "skipped hour.")
                .arg(edit->text()));
        return;
    }
    const std::optional<recording_tags::shift> offset = shift_between(recorded, entered);
    if (!offset) {
        ondo::message_box::warning(this, windowTitle(), tr("No offset takes this photo's time to %1.").arg(edit->text()));
        return;
    }
    result = *offset;
    QDialog::accept();
}

std::optional<recording_tags::shift> dialog_correct_time::shift_between(const QDateTime& from, const QDateTime& to)
{
    if (!from.isValid() || !to.isValid())
        return std::nullopt;
    const qint64 total = from.secsTo(to);
    qint64 days = from.date().daysTo(to.date());
    // Days keep the wall clock and the rest goes through the daylight saving rules, as in the
    // table. The rest takes the sign of the whole, so that 23:30 to 00:10 the next day reads
    // +40 minutes and not +1 day -23 hours 20 minutes; a day of 23 or 25 hours may need a
    // second step.
    qint64 rest = from.addDays(days).secsTo(to);
    for (int step = 0; step < 3 && (total >= 0 ? rest < 0 : rest > 0); ++step) {
        days += total >= 0 ? -1 : 1;
        rest = from.addDays(days).secsTo(to);
    }
    if (days < std::numeric_limits<int>::min() || days > std::numeric_limits<int>::max())
        return std::nullopt;
    recording_tags::shift offset;
    offset.days = int(days);
    offset.hours = int(rest / 3600);
    offset.minutes = int(rest % 3600 / 60);
    offset.seconds = int(rest % 60);
    // Checked the way the table will apply it.
    if (recording_tags::moved(from, offset) != to)
        return std::nullopt;
    return offset;
}

#include "cameras_panel.h"

#include "time_offsets.h"

#include <ondo/style.h>

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QToolButton>
#include <QVBoxLayout>
#include <QWheelEvent>

#include <algorithm>

namespace {

constexpr qint64 units[] = {86400, 3600, 60, 1};
const char* const suffixes[] = {" d", " h", " min", " s"};
const char* const part_names[] = {"correction_days", "correction_hours", "correction_minutes", "correction_seconds"};
// Hours, minutes and seconds take up to 99, so that a step past 59 or a typed 90 minutes is
// accepted and then carried into the larger unit.
constexpr int ranges[] = {3650, 99, 99, 99};
constexpr int natural[] = {3650, 23, 59, 59};
constexpr qint64 largest = 3650 * 86400LL + 86399;

// Beyond this many cameras the rows scroll, so that the panel keeps the window's smallest size.
constexpr int unscrolled_cameras = 4;
// Grid columns: name, files, first, last, the four editors, the clear button.
enum column { name_column, files_column, first_column, last_column, editors_column, clear_column };

// A spin box that leaves the wheel to the scrolling rows unless it has the focus, so that
// scrolling past a camera never changes its clock.
class correction_box : public QSpinBox {
public:
    using QSpinBox::QSpinBox;

protected:
    void wheelEvent(QWheelEvent* event) override
    {
        if (hasFocus())
            QSpinBox::wheelEvent(event);
        else
            event->ignore();
    }
};

qint64 total_of(const std::array<QSpinBox*, 4>& parts)
{
    qint64 total = 0;
    for (int i = 0; i < 4; ++i)
        total += parts[i]->value() * units[i];
    return total;
}

// Every part takes the sign of the total (−3792 s is 0 d −1 h −3 min −12 s), as a correction is
// read: one direction, then its size.
void show_total(const std::array<QSpinBox*, 4>& parts, qint64 total)
{
    for (int i = 0; i < 4; ++i) {
        const QSignalBlocker blocker(parts[i]);
        parts[i]->setValue(int(total / units[i]));
        total %= units[i];
    }
}

// A spread has no direction and reads best without the empty larger units.
QString spread_text(qint64 seconds)
{
    if (seconds < 60)
        return QStringLiteral("%1 s").arg(seconds);
    if (seconds < 3600)
        return QStringLiteral("%1 min %2 s").arg(seconds / 60).arg(seconds % 60);
    return camera_clocks::correction_text(seconds).mid(1);
}

QLabel* make_label(const QString& text, const QString& camera, QWidget* parent)
{
    auto* label = new QLabel(text, parent);
    label->setTextFormat(Qt::PlainText);
    label->setProperty("camera", camera);
    return label;
}

} // namespace

cameras_panel::cameras_panel(time_offsets* offsets, QWidget* parent)
    : QWidget(parent), offsets(offsets), date_format(QStringLiteral("yyyy-MM-dd hh:mm:ss")), scroll(new QScrollArea(this))
{
    setObjectName("cameras_panel");
    // A plain QWidget subclass paints no style-sheet background or frame unless asked to.
    setAttribute(Qt::WA_StyledBackground);
    setStyleSheet(QString("#cameras_panel {background-color: rgb(47,47,47); border-style: solid; border-width: 3px;"
                          "border-image: url(:/gui/panel/border.png) 3 stretch;}"
                          "QScrollArea, #cameras_viewport, #cameras_rows {background: transparent; border: none;}"
                          "QLabel {color: rgb(198,213,210); background: transparent;}"
                          "QLabel[heading=\"true\"] {color: rgb(140,150,148);}"
                          "QSpinBox {background: rgb(38,38,38); color: rgb(198,213,210); border: 1px solid rgb(99,99,99);"
                          "padding: 1px 3px; selection-background-color: rgb(198,213,210); selection-color: #000;}"
                          "QSpinBox:focus {border-color: rgb(198,213,210);}"
                          "QToolButton {color: rgb(198,213,210); background: transparent; border: 1px solid transparent;"
                          "border-radius: 2px; padding: 1px 4px;}"
                          "QToolButton:hover, QToolButton:focus {border-color: rgb(99,99,99); color: #f0f0f0;}"
                          "QToolButton:pressed {background: rgb(91,91,91);}"
                          "QToolTip {border: 1px solid rgb(99,99,99); background-color: rgb(47,47,47);}"));

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(9, 6, 9, 6);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    // As tall as its rows, never taller: the photo list below takes what is left.
    scroll->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    scroll->viewport()->setObjectName("cameras_viewport");
    // Set on the bar itself, as the photo list's bars are: from the panel's sheet it kept the style's arrows.
    scroll->verticalScrollBar()->setStyleSheet(ondo::list_scrollbar_rules);
    layout->addWidget(scroll);

    connect(offsets, &time_offsets::changed, this, &cameras_panel::show_corrections);
    setHidden(true);
}

void cameras_panel::set_cameras(const QList<camera_summary>& cameras)
{
    rows.clear();
    grid_rows.clear();
    auto* content = new QWidget();
    content->setObjectName("cameras_rows");
    auto* grid = new QGridLayout(content);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setHorizontalSpacing(9);
    grid->setVerticalSpacing(3);
    if (cameras.size() >= 2) {
        add_header(grid);
        for (const camera_summary& camera : cameras)
            add_row(grid, camera);
        grid->setColumnStretch(clear_column + 1, 1);
        grid->setRowStretch(grid->rowCount(), 1);
    }
    // Deletes the rows of the cameras before.
    scroll->setWidget(content);
    show_times();
    show_corrections();
    fit_height(grid);
    setHidden(cameras.size() < 2);
}

void cameras_panel::set_date_format(const QString& format)
{
    date_format = format;
    show_times();
}

void cameras_panel::add_header(QGridLayout* grid)
{
    auto heading = [&](const QString& text, int column, int span = 1) {
        auto* label = new QLabel(text, grid->parentWidget());
        label->setProperty("heading", true);
        grid->addWidget(label, 0, column, 1, span);
    };
    heading(tr("Camera"), name_column);
    heading(tr("First recording"), first_column);
    heading(tr("Last recording"), last_column);
    heading(tr("Clock correction"), editors_column, 2);
}

void cameras_panel::add_row(QGridLayout* grid, const camera_summary& camera)
{
    QWidget* parent = grid->parentWidget();
    const int at = grid->rowCount();
    grid_rows.push_back(at);
    row added;
    added.key = camera.key;
    added.first = camera.first;
    added.last = camera.last;

    // A long model name must not push the editors off the panel; the tool tip holds all of it.
    auto* name = make_label(QString(), camera.key, parent);
    name->setText(name->fontMetrics().elidedText(camera.name, Qt::ElideMiddle, 150));
    name->setToolTip(camera.name);
    grid->addWidget(name, at, name_column);
    auto* files = make_label(tr("%n files", nullptr, camera.files), camera.key, parent);
    grid->addWidget(files, at, files_column, Qt::AlignRight);
    added.first_label = make_label(QString(), camera.key, parent);
    grid->addWidget(added.first_label, at, first_column);
    added.last_label = make_label(QString(), camera.key, parent);
    grid->addWidget(added.last_label, at, last_column);

    // The four editors sit closer together than the columns, as one value.
    auto* editors = new QHBoxLayout();
    editors->setSpacing(3);
    const QString editor_tip = tr("Added to the recording times of this camera's files, on top of the offset for all "
                                  "files. Negative where its clock ran ahead.");
    for (int i = 0; i < 4; ++i) {
        auto* box = new correction_box(parent);
        box->setObjectName(part_names[i]);
        box->setProperty("camera", camera.key);
        box->setRange(-ranges[i], ranges[i]);
        // The units as the GPS line and the notes write a correction.
        box->setSuffix(QString::fromLatin1(suffixes[i]));
        box->setAlignment(Qt::AlignRight);
        box->setButtonSymbols(QAbstractSpinBox::NoButtons);
        box->setFocusPolicy(Qt::StrongFocus);
        box->setToolTip(editor_tip);
        editors->addWidget(box);
        added.parts[i] = box;
    }
    grid->addLayout(editors, at, editors_column);

    auto* clear = new QToolButton(parent);
    clear->setObjectName("correction_clear");
    clear->setProperty("camera", camera.key);
    clear->setText(tr("Clear"));
    clear->setToolTip(tr("Sets this camera's clock correction back to zero."));
    grid->addWidget(clear, at, clear_column);

    if (camera.gps) {
        const gps_estimate& gps = *camera.gps;
        auto* line = make_label(tr("GPS: %1, %n photos, spread %2", nullptr, gps.photos)
                                    .arg(camera_clocks::correction_text(gps.seconds), spread_text(gps.spread)),
                                camera.key, parent);
        line->setObjectName("gps_estimate");
        line->setToolTip(tr("The correction that the satellite time in this camera's photos suggests: the median over "
                            "those photos, and how far they differ from one another. A spread of a few seconds makes "
                            "it trustworthy."));
        grid->addWidget(line, at + 1, first_column, 1, clear_column - first_column + 1);
    }

    // By index: the vector may grow and move its rows while later ones are added.
    const int index = int(rows.size());
    for (QSpinBox* box : added.parts)
        connect(box, qOverload<int>(&QSpinBox::valueChanged), this, [this, index] { edited(rows.at(index)); });
    connect(clear, &QToolButton::clicked, this, [this, index] { offsets->set_correction(rows.at(index).key, 0); });
    rows.push_back(added);
}

void cameras_panel::edited(const row& edited_row)
{
    const qint64 entered = total_of(edited_row.parts);
    const qint64 total = qBound(-largest, entered, largest);
    bool carry = total != entered;
    for (int i = 0; i < 4; ++i)
        carry = carry || qAbs(edited_row.parts[i]->value()) > natural[i];
    if (carry)
        show_total(edited_row.parts, total);
    offsets->set_correction(edited_row.key, total);
}

void cameras_panel::show_corrections()
{
    // Editors that already hold the correction stay as typed, mixed signs and all; the one being
    // edited is among them, as its change is what got here.
    for (const row& shown : rows) {
        const qint64 correction = offsets->correction(shown.key);
        if (total_of(shown.parts) != correction)
            show_total(shown.parts, correction);
    }
}

void cameras_panel::show_times()
{
    for (const row& shown : rows) {
        shown.first_label->setText(shown.first.toString(date_format));
        shown.last_label->setText(shown.last.toString(date_format));
    }
}

void cameras_panel::fit_height(QGridLayout* grid)
{
    // The header and the first few cameras, with the GPS lines among them.
    const bool scrolls = int(grid_rows.size()) > unscrolled_cameras;
    const int shown_rows = scrolls ? grid_rows.at(unscrolled_cameras) : grid->rowCount();
    int height = 0;
    for (int r = 0; r < shown_rows; ++r) {
        int tallest = 0;
        for (int c = 0; c < grid->columnCount(); ++c)
            if (QLayoutItem* item = grid->itemAtPosition(r, c))
                tallest = std::max(tallest, item->sizeHint().height());
        if (tallest > 0)
            height += tallest + (r > 0 ? grid->verticalSpacing() : 0);
    }
    scroll->setFixedHeight(height);
    // The rows never scroll sideways: the panel is as wide as they are.
    scroll->setMinimumWidth(grid->minimumSize().width() + (scrolls ? 11 : 0));
}

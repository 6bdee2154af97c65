#include "time_adjustment.h"

#include "ui_time_adjustment.h"

#include "entered_zone.h"

#include <ondo/widgets.h>

#include <QIntValidator>
#include <QRegularExpression>

#include <utility>

namespace {

// Lets in only what a zone is typed with, so that a slip of the finger never lands in the field,
// but keeps every such text, even one that is no zone yet ("+02:0") or no zone at all ("99"):
// cutting it short could leave a different zone standing ("+0530" as "+05"). The field shows
// such a text as wrong instead.
class zone_validator : public QValidator {
public:
    using QValidator::QValidator;
    State validate(QString& input, int&) const override
    {
        static const QRegularExpression characters(
            QRegularExpression::anchoredPattern(QStringLiteral("[+\\-\\x{2212}]?\\d*(?:[.,:]\\d*)?")));
        if (input.size() > 7 || !characters.match(input).hasMatch())
            return Invalid;
        return entered_zone::minutes(input) ? Acceptable : Intermediate;
    }
};

// Clear on the panel's dark grey, and apart from the text's pale green.
const QColor refused_colour(235, 95, 85);

} // namespace

time_adjustment::time_adjustment(QWidget* parent) : QWidget(parent), ui(new Ui_time_adjustment)
{
    ui->setupUi(this);
    // A plain QWidget subclass paints no style-sheet background or frame unless asked to.
    setAttribute(Qt::WA_StyledBackground);
    // No bounds on the integer fields: 400 days or -5000 minutes are ordinary offsets.
    for (QLineEdit* field : {ui->lineedit_year, ui->lineedit_month, ui->lineedit_day, ui->lineedit_hour,
                             ui->lineedit_minute, ui->lineedit_second})
        field->setValidator(new QIntValidator(field));
    ui->lineedit_timezone->setValidator(new zone_validator(ui->lineedit_timezone));
    ui->label_timezone->setToolTip(
        tr("The time zone of the new times, in hours from UTC, such as 2, -3.5 or +05:30. It is written as it "
           "is into every zone a photo states or receives; the clock readings stay as they are. Leave it empty "
           "to keep each photo's own zone."));
    ui->lineedit_timezone->setToolTip(ui->label_timezone->toolTip());
}

time_adjustment::~time_adjustment() { delete ui; }

void time_adjustment::clear()
{
    ui->lineedit_year->setText(QString());
    ui->lineedit_month->setText(QString());
    ui->lineedit_day->setText(QString());
    ui->lineedit_hour->setText(QString());
    ui->lineedit_minute->setText(QString());
    ui->lineedit_second->setText(QString());
    ui->lineedit_timezone->setText(QString());
}

void time_adjustment::set_offset(int year, int month, int day, int hour, int minute, int second)
{
    const std::pair<QLineEdit*, int> fields[] = {{ui->lineedit_year, year},     {ui->lineedit_month, month},
                                                 {ui->lineedit_day, day},       {ui->lineedit_hour, hour},
                                                 {ui->lineedit_minute, minute}, {ui->lineedit_second, second}};
    for (const auto& field : fields)
        field.first->setText(field.second == 0 ? QString() : QString::number(field.second));
}

void time_adjustment::init_focus() { ui->lineedit_year->setFocus(Qt::OtherFocusReason); }

bool time_adjustment::has_timezone_offset() const { return zone.has_value(); }

bool time_adjustment::zone_refused() const
{
    return !zone && !ui->lineedit_timezone->text().trimmed().isEmpty();
}

void time_adjustment::setWidgetsToolTip(QString const& text)
{
    for (QWidget* w : std::initializer_list<QWidget*>{
             ui->label_year, ui->label_month, ui->label_day, ui->label_hour, ui->label_minute, ui->label_second,
             ui->lineedit_year, ui->lineedit_month, ui->lineedit_day, ui->lineedit_hour, ui->lineedit_minute,
             ui->lineedit_second})
        w->setToolTip(text);
}

void time_adjustment::values_changed()
{
    // Quarter hours at most, so the hours are exact.
    emit time_offset_changed(year, month, day, hour, minute, second, zone.has_value(), zone.value_or(0) / 60.0);
}

// The validators only steer typing: an intermediate text such as a lone "-" can stand in an
// offset field, and toInt makes it 0.
void time_adjustment::on_lineedit_year_textChanged(QString const& text)
{
    year = text.toInt();
    values_changed();
}

void time_adjustment::on_lineedit_month_textChanged(QString const& text)
{
    month = text.toInt();
    values_changed();
}

void time_adjustment::on_lineedit_day_textChanged(QString const& text)
{
    day = text.toInt();
    values_changed();
}

void time_adjustment::on_lineedit_hour_textChanged(QString const& text)
{
    hour = text.toInt();
    values_changed();
}

void time_adjustment::on_lineedit_minute_textChanged(QString const& text)
{
    minute = text.toInt();
    values_changed();
}

void time_adjustment::on_lineedit_second_textChanged(QString const& text)
{
    second = text.toInt();
    values_changed();
}

void time_adjustment::on_lineedit_timezone_textChanged(QString const& text)
{
    zone = entered_zone::minutes(text);
    show_zone_state();
    values_changed();
}

void time_adjustment::show_zone_state()
{
    ondo::lineedit* field = ui->lineedit_timezone;
    const bool refused = zone_refused();
    // A new sheet polishes the field anew; only a change of state needs one.
    if ((field->border == refused_colour) != refused) {
        field->border = refused ? refused_colour : field->default_border;
        field->update_style();
        if (refused)
            field->setStyleSheet(field->styleSheet()
                                 + QStringLiteral("ondo--lineedit{color:rgb(%1,%2,%3);}")
                                       .arg(refused_colour.red())
                                       .arg(refused_colour.green())
                                       .arg(refused_colour.blue()));
    }
    field->setToolTip(refused ? tr("\"%1\" is not a time zone. Enter hours from -12 to +14 in whole, half or "
                                   "quarter hours, such as 2, -3.5 or +05:30.")
                                    .arg(field->text())
                              : ui->label_timezone->toolTip());
}

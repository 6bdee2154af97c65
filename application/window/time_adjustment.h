#pragma once

#include <QWidget>

#include <optional>

class Ui_time_adjustment;

// The row of offset fields: years, months, days, hours, minutes, seconds and the time zone of the
// new times (as entered_zone reads it). Every keystroke reports the whole offset through
// time_offset_changed.
class time_adjustment : public QWidget {
    Q_OBJECT
public:
    explicit time_adjustment(QWidget* parent = nullptr);
    ~time_adjustment() override;

    // Empties the fields from year to zone; each field that held text reports once.
    void clear();
    void init_focus();
    // Fills the six integer fields, a 0 as an empty field; the zone field stays as it is. Each
    // changed field reports, the last with the whole offset.
    void set_offset(int year, int month, int day, int hour, int minute, int second);
    // True while the zone field holds a zone, a typed "0" included.
    bool has_timezone_offset() const;
    // True when the zone field holds text that is no zone, such as "99" or a lone "-"; the field
    // then shows so in its colour and tooltip.
    bool zone_refused() const;
    // The tooltip of the six offset fields and their labels; the zone keeps its own.
    void setWidgetsToolTip(QString const& text);
    void values_changed();

signals:
    // `timezone` is the entered zone in hours, 0.0 unless `has_timezone`.
    void time_offset_changed(int year, int month, int day, int hour, int minute, int second,
                             bool has_timezone, double timezone);

private slots:
    void on_lineedit_year_textChanged(QString const& text);
    void on_lineedit_month_textChanged(QString const& text);
    void on_lineedit_day_textChanged(QString const& text);
    void on_lineedit_hour_textChanged(QString const& text);
    void on_lineedit_minute_textChanged(QString const& text);
    void on_lineedit_second_textChanged(QString const& text);
    void on_lineedit_timezone_textChanged(QString const& text);

private:
    void show_zone_state();

    Ui_time_adjustment* ui;
    int year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    std::optional<int> zone; // minutes east of UTC
};

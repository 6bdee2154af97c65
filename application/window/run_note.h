#pragma once

#include <QLabel>

// One line in the window's top strip that says what the last fix or undo did. It is never
// modal and stays until the next action clears it.
class run_note : public QLabel {
    Q_OBJECT
public:
    explicit run_note(QWidget* parent = nullptr);

    // `changed` photos written, `failed` refused, `left` passed over (no valid time, or behind a
    // stop): together the photos of the run; `sidecars` of theirs written with them.
    void show_after_fix(int changed, int failed, int left = 0, int sidecars = 0);
    // `restored` files given back their old times, `failed` not.
    void show_after_undo(int restored, int failed);
    // Any other word on what was just done, such as a camera's clock set.
    void show_text(const QString& text);

public slots:
    void clear();
};

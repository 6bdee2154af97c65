#include "dialog_settings.h"

#include <ondo/language.h>
#include <ondo/widgets.h>

#include <QGridLayout>
#include <QLabel>

dialog_settings::dialog_settings(QWidget* parent) : QDialog(parent)
{
    setWindowTitle(tr("Settings"));
    setWindowFlags(windowFlags() & ~Qt::WindowContextHelpButtonHint);

    auto* outer = new QGridLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->setHorizontalSpacing(0);
    outer->setVerticalSpacing(0);
    auto* inner = new QGridLayout();
    inner->setContentsMargins(10, 10, 10, 10);
    inner->setHorizontalSpacing(4);
    inner->setVerticalSpacing(8);
    outer->addWidget(new ondo::panel(inner, false, this), 0, 0);

    auto* combo = new ondo::combobox(this);
    // Each language is named in its own words, so these two are not translated.
    combo->addItem("Deutsch", "de");
    combo->addItem("English", "en");
    combo->setMaxVisibleItems(5);
    combo->setMinimumWidth(100);
    inner->addWidget(new QLabel(tr("Language:"), this), 0, 0);
    inner->addWidget(combo, 0, 1);

    // Chosen before the signal is connected, so that opening the dialog stores nothing.
    const QString lang = ondo::get_language_suffix("lang");
    combo->setCurrentIndex(combo->findData(lang == "de" ? "de" : "en"));
    connect(combo, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            [this, combo](int) { settings.setValue("lang", combo->currentData().toString()); });

    const QSize hint = sizeHint();
    setFixedSize(static_cast<int>(hint.width() * 1.2), hint.height());
}

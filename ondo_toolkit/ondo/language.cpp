#include "ondo/language.h"

#include "ondo/message_box.h"
#include "ondo/qt_compat.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QSettings>
#include <QTranslator>

namespace ondo {

const QList<QLocale> supported_languages = {
    QLocale(QLocale::German, QLocale::AnyCountry),
    QLocale(QLocale::English, QLocale::AnyCountry),
};

const QMap<int, QString> language_codes = {
    {QLocale::English, QStringLiteral("en")},
    {QLocale::French, QStringLiteral("fr")},
    {QLocale::German, QStringLiteral("de")},
    {QLocale::Korean, QStringLiteral("kr")},
};

QString get_language_suffix(const QString& key)
{
    const QString stored = QSettings().value(key, QVariant()).toString();
    if (!stored.isEmpty())
        return stored;

    const QLocale::Language language = QLocale::system().language();
    if (language_codes.contains(language)
        && supported_languages.contains(QLocale(language, QLocale::AnyCountry)))
        return language_codes.value(language);
    return language_codes.value(QLocale::English);
}

QString get_lang_value_for_locale(const QLocale& locale)
{
    return language_codes.value(locale.language());
}

// Every translator installed, for the life of the process: held here, where leak checkers see
// them reachable.
QList<QTranslator*>* installed_translators = nullptr;

QList<QTranslator*> install_translators(const QString& lang)
{
    if (!installed_translators)
        installed_translators = new QList<QTranslator*>;
    // Qt's own texts (the file dialog's buttons and columns) come from Debian's
    // qttranslations5-l10n or qt6-translations-l10n; without it they stay English.
    const QString catalogues[3][2] = {
        {"qtbase_" + lang, qt_compat::translations_path()},
        {":/translations/" + lang, QString()},
        {":/translations/toolkit_" + lang, QString()},
    };
    QList<QTranslator*> translators;
    for (const auto& catalogue : catalogues) {
        auto* translator = new QTranslator();
        // A missing catalogue leaves an empty translator, and the next one or the source text
        // shows through. The application's English one stands in for a language without its
        // own, as it holds the singular forms of the texts with a count.
        if (!translator->load(catalogue[0], catalogue[1]) && catalogue[0] == ":/translations/" + lang)
            (void)translator->load(":/translations/en");
        QCoreApplication::installTranslator(translator);
        translators << translator;
    }
    *installed_translators << translators;
    return translators;
}

bool ask_for_application_restart_if_language_changed(QWidget* parent, const QString& old_language)
{
    if (get_language_suffix("lang") == old_language)
        return false;
    // The buttons stand the other way round from the main window's prompt; in both the default
    // keeps the program running.
    const auto answer = message_box::question(parent, QObject::tr("Application language changed"),
        QObject::tr("The application language has been changed.\nThe application needs to be restarted to use the "
                    "new language."),
        QObject::tr("Quit now"), QObject::tr("Continue working"), QMessageBox::No);
    if (answer != QMessageBox::Yes)
        return false;
    // Ends the loop as Qt 5's quit() did; Qt 6's quit() closes every window first.
    QCoreApplication::exit(0);
    return true;
}

} // namespace ondo

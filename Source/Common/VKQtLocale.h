// The application's locale: numbers without group separators, language tests, the user's preferred language,
// names of standard folders, and the library's translations.
#pragma once

#include "VKQtExport.h"

#include <QLocale>
#include <QStandardPaths>
#include <QString>

/// A QLocale that leaves group separators out: 12345.5, never 12,345.5.
///
/// The static functions that ask about "the locale" mean QLocale(), the default one, at the moment of the call,
/// and may be called on any thread. initialize() and installTranslations() belong to the main thread, at start-up.
class VKQT_EXPORT VKQtLocale : public QLocale {
public:
    /// The default locale.
    VKQtLocale();
    VKQtLocale(QLocale::Language language, QLocale::Country country);

    [[nodiscard]] static bool isGermanLanguage();
    [[nodiscard]] static bool isSpanishLanguage();
    [[nodiscard]] static bool isEnglish();

    /// Whether the locale measures in metres. False for both kinds of inches.
    [[nodiscard]] static bool usesMetric();

    [[nodiscard]] static QLocale::Language getCurrentLanguage();

    /// Asks the system for the user's preferred language: the first of its interface languages, or, when it names
    /// none, the language of its locale. Call it once at start-up.
    static void initialize();

    /// What initialize() found; QLocale::AnyLanguage before it was called.
    [[nodiscard]] static QLocale::Language preferredLanguage();

    /// Makes the library's texts that users see (the word "copy" in the name of a copied file) appear in the
    /// first of the locale's interface languages that the library speaks: English, French, German, Japanese,
    /// Spanish. Calling it again changes the language. False, and English, when it speaks none of them.
    ///
    /// Needs the application object, whose translators it joins. Applications that translate the context
    /// "VKQtPathUtils" themselves do so by a translator that they install later.
    static bool installTranslations(const QLocale& locale = QLocale());

    /// The name of a standard folder for people: under macOS rules the framework's display name, otherwise the
    /// last component of its path, which is its name in the user's language as far as it has one. Empty when
    /// there is no such folder.
    ///
    ///     pictures in /home/a/Bilder -> "Bilder"
    [[nodiscard]] static QString getLocalizedDirectoryLabel(QStandardPaths::StandardLocation location);

    /// Always empty: a folder of the user's own has no other name. Kept for older callers.
    [[nodiscard]] static QString getLocalizedDirectoryLabel(const QString& path);

    /// The locale's name in the form of web standards.
    ///
    ///     de_DE -> "de-DE"     en_US -> "en-US"     en -> "en"     C -> "C"
    ///
    /// Names of two parts only get their cases set.
    [[nodiscard]] static QString standardizeName(const QLocale& locale);

    /// A stored number (with "." as its decimal separator) as the user writes it: every "." becomes the locale's
    /// decimal point.
    ///
    ///     "1.5" -> "1,5" in German, "1.5" in English
    [[nodiscard]] static QString convertDecimalChar(const QString& number);

private:
    static QLocale::Language mPreferredLanguage; // NOLINT(readability-identifier-naming): its name of old
};

// The locale, and the library's own translations.
#include "VKQtLocale.h"

#include "VKQtStandardFolders.h"
#include "VKQtSysInfo.h"

#include <QCoreApplication>
#include <QPointer>
#include <QStringList>
#include <QTranslator>

#include <memory>

// Outside of any namespace, as the macro wants it: makes the resource known where the linker left its own start-up
// code out.
static void initTranslationsResource() { Q_INIT_RESOURCE(VKQtCoreLiteTranslations); }

QLocale::Language VKQtLocale::mPreferredLanguage = {};

namespace {

/// The texts in the source are English.
bool isEnglishName(const QString& language) {
    return language == u"C" || QLocale(language).language() == QLocale::English;
}

/// A translator for the language; null when the library does not speak it.
std::unique_ptr<QTranslator> translatorFor(const QString& language) {
    auto translator = std::make_unique<QTranslator>();
    const QString file =
        u":/VKQtCoreLite/Translations/VKQtCoreLite_" + QLocale::languageToCode(QLocale(language).language());
    return translator->load(file) ? std::move(translator) : nullptr;
}

/// Takes the place of the translator that an earlier call installed; null for English.
void replaceTranslator(std::unique_ptr<QTranslator> translator) {
    // The application owns it; it may be gone with an application object of before.
    static QPointer<QTranslator> sInstalled;
    delete sInstalled.data();
    if (translator) {
        translator->setParent(QCoreApplication::instance());
        QCoreApplication::installTranslator(translator.get());
    }
    sInstalled = translator.release();
}

} // namespace

VKQtLocale::VKQtLocale() { setNumberOptions(QLocale::OmitGroupSeparator); }

VKQtLocale::VKQtLocale(QLocale::Language language, QLocale::Country country) : QLocale(language, country) {
    setNumberOptions(QLocale::OmitGroupSeparator);
}

bool VKQtLocale::isGermanLanguage() { return getCurrentLanguage() == QLocale::German; }

bool VKQtLocale::isSpanishLanguage() { return getCurrentLanguage() == QLocale::Spanish; }

bool VKQtLocale::isEnglish() { return getCurrentLanguage() == QLocale::English; }

bool VKQtLocale::usesMetric() { return QLocale().measurementSystem() == QLocale::MetricSystem; }

QLocale::Language VKQtLocale::getCurrentLanguage() { return QLocale().language(); }

void VKQtLocale::initialize() {
    const QLocale system = QLocale::system();
    const QStringList languages = system.uiLanguages();
    mPreferredLanguage = languages.isEmpty() ? system.language() : QLocale(languages.first()).language();
}

QLocale::Language VKQtLocale::preferredLanguage() { return mPreferredLanguage; }

bool VKQtLocale::installTranslations(const QLocale& locale) {
    initTranslationsResource();
    const QStringList languages = locale.uiLanguages();
    for (const QString& language : languages) {
        if (isEnglishName(language)) {
            replaceTranslator(nullptr);
            return true;
        }
        if (std::unique_ptr<QTranslator> translator = translatorFor(language)) {
            replaceTranslator(std::move(translator));
            return true;
        }
    }
    replaceTranslator(nullptr);
    return false;
}

QString VKQtLocale::getLocalizedDirectoryLabel(QStandardPaths::StandardLocation location) {
    if (VKQtSysInfo::isMacPlatform()) {
        return QStandardPaths::displayName(location);
    }
    const QString path = VKQtStandardFolders::writableLocation(location);
    return path.sliced(path.lastIndexOf(u'/') + 1);
}

QString VKQtLocale::getLocalizedDirectoryLabel(const QString& /*path*/) { return QString(); }

QString VKQtLocale::standardizeName(const QLocale& locale) {
    QString name = locale.name().replace(u'_', u'-');
    const QStringList parts = name.split(u'-');
    if (parts.size() != 2) {
        return name;
    }
    return QStringLiteral("%1-%2").arg(parts[0].toLower(), parts[1].toUpper());
}

QString VKQtLocale::convertDecimalChar(const QString& number) {
    const QString point = QLocale().decimalPoint();
    return point == u"." ? number : QString(number).replace(u'.', point);
}

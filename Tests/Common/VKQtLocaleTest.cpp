// The locale: numbers, language tests, names, labels of folders, translations. What depends on the system's own
// locale is asked in a process that starts with it.
#include "VKQtLocale.h"
#include "Support/ShellCommand.h"
#include "Support/VKTest.h"

#include <QCoreApplication>
#include <QFile>
#include <QTranslator>

#include <cstdio>
#include <cstring>

using namespace Qt::StringLiterals;

namespace {

/// The default locale while the object lives.
class DefaultLocale {
public:
    explicit DefaultLocale(const QLocale& locale) : mBefore() { QLocale::setDefault(locale); }
    DefaultLocale(const DefaultLocale&) = delete;
    DefaultLocale& operator=(const DefaultLocale&) = delete;
    ~DefaultLocale() { QLocale::setDefault(mBefore); }

private:
    QLocale mBefore;
};

QString copyWord() { return QCoreApplication::translate("VKQtPathUtils", "copy"); }

void writeUserDirs(const QByteArray& text) {
    QFile file(qEnvironmentVariable("XDG_CONFIG_HOME") + u"/user-dirs.dirs"_s);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(text), text.size());
}

/// The child process: the preferred language before and after initialize().
int reportPreferredLanguage() {
    const int before = VKQtLocale::preferredLanguage();
    VKQtLocale::initialize();
    std::printf("%d %d", before, static_cast<int>(VKQtLocale::preferredLanguage()));
    return 0;
}

} // namespace

class VKQtLocaleTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void numbersWithoutGroups_data();
    void numbersWithoutGroups();
    void languageTests_data();
    void languageTests();
    void metric_data();
    void metric();
    void preferredLanguage_data();
    void preferredLanguage();
    void standardNames_data();
    void standardNames();
    void decimalPoint_data();
    void decimalPoint();
    void labels_data();
    void labels();
    void labelOfPath();
    void translations_data();
    void translations();
    void languageChanges();
    void applicationsTranslatorWins();
};

void VKQtLocaleTest::numbersWithoutGroups_data() {
    QTest::addColumn<QLocale::Language>("language");
    QTest::addColumn<QString>("expected");
    QTest::newRow("English") << QLocale::English << u"12345.5"_s;
    QTest::newRow("German") << QLocale::German << u"12345,5"_s;
    QTest::newRow("French") << QLocale::French << u"12345,5"_s;
    QTest::newRow("Hindi, whose groups are of two") << QLocale::Hindi << u"12345.5"_s;
    QTest::newRow("C") << QLocale::C << u"12345.5"_s;
}

void VKQtLocaleTest::numbersWithoutGroups() {
    QFETCH(QLocale::Language, language);
    QFETCH(QString, expected);
    const VKQtLocale locale(language, QLocale::AnyCountry);
    QCOMPARE(locale.numberOptions(), QLocale::NumberOptions(QLocale::OmitGroupSeparator));
    QCOMPARE(int(locale.numberOptions()), 1);
    QCOMPARE(locale.toString(12345.5), expected);
    const DefaultLocale asDefault{QLocale(language)};
    const VKQtLocale byDefault;
    QCOMPARE(byDefault.language(), QLocale(language).language());
    QCOMPARE(byDefault.toString(12345.5), expected);
}

void VKQtLocaleTest::languageTests_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("which");
    QTest::newRow("German") << u"de_DE"_s << u"german"_s;
    QTest::newRow("German in Austria") << u"de_AT"_s << u"german"_s;
    QTest::newRow("Spanish") << u"es_MX"_s << u"spanish"_s;
    QTest::newRow("English") << u"en_GB"_s << u"english"_s;
    QTest::newRow("Japanese") << u"ja_JP"_s << QString();
    QTest::newRow("C") << u"C"_s << QString();
}

void VKQtLocaleTest::languageTests() {
    QFETCH(QString, name);
    QFETCH(QString, which);
    const DefaultLocale asDefault{QLocale(name)};
    QCOMPARE(VKQtLocale::isGermanLanguage(), which == u"german");
    QCOMPARE(VKQtLocale::isSpanishLanguage(), which == u"spanish");
    QCOMPARE(VKQtLocale::isEnglish(), which == u"english");
    QCOMPARE(VKQtLocale::getCurrentLanguage(), QLocale(name).language());
}

void VKQtLocaleTest::metric_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("metric");
    QTest::newRow("Germany") << u"de_DE"_s << true;
    QTest::newRow("United States") << u"en_US"_s << false;
    QTest::newRow("United Kingdom, with inches of its own") << u"en_GB"_s << false;
}

void VKQtLocaleTest::metric() {
    QFETCH(QString, name);
    QFETCH(bool, metric);
    const DefaultLocale asDefault{QLocale(name)};
    QCOMPARE(VKQtLocale::usesMetric(), metric);
}

void VKQtLocaleTest::preferredLanguage_data() {
    QTest::addColumn<QByteArray>("environment");
    QTest::addColumn<int>("language");
    QTest::newRow("locale alone") << QByteArray("LANGUAGE= LC_ALL=de_DE.UTF-8") << int(QLocale::German);
    QTest::newRow("list before locale")
        << QByteArray("LANGUAGE=fr:en LC_ALL= LANG=de_DE.UTF-8") << int(QLocale::French);
    QTest::newRow("Spanish, 270") << QByteArray("LANGUAGE=es LC_ALL= LANG=de_DE.UTF-8") << 270;
    QTest::newRow("C") << QByteArray("LANGUAGE= LC_ALL=C") << int(QLocale::C);
}

void VKQtLocaleTest::preferredLanguage() {
    QFETCH(QByteArray, environment);
    QFETCH(int, language);
    const QByteArray self = QCoreApplication::applicationFilePath().toUtf8();
    const Shell::Output output = Shell::outputOf(environment + " '" + self + "' report");
    QCOMPARE(output.status, 0);
    QCOMPARE(output.text, "0 " + QByteArray::number(language));
}

void VKQtLocaleTest::standardNames_data() {
    QTest::addColumn<QLocale>("locale");
    QTest::addColumn<QString>("expected");
    QTest::newRow("C, one part") << QLocale::c() << u"C"_s;
    QTest::newRow("German") << QLocale(u"de_DE"_s) << u"de-DE"_s;
    QTest::newRow("Brazil") << QLocale(u"pt_BR"_s) << u"pt-BR"_s;
    QTest::newRow("United States") << QLocale(u"en_US"_s) << u"en-US"_s;
    QTest::newRow("a language that the framework names without its script")
        << QLocale(QLocale::Chinese, QLocale::SimplifiedHanScript, QLocale::China) << u"zh-CN"_s;
    QTest::newRow("three letters") << QLocale(u"haw_US"_s) << u"haw-US"_s;
}

void VKQtLocaleTest::standardNames() {
    QFETCH(QLocale, locale);
    QFETCH(QString, expected);
    QCOMPARE(VKQtLocale::standardizeName(locale), expected);
}

void VKQtLocaleTest::decimalPoint_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("number");
    QTest::addColumn<QString>("expected");
    QTest::newRow("English") << u"en_US"_s << u"1.5"_s << u"1.5"_s;
    QTest::newRow("German") << u"de_DE"_s << u"1.5"_s << u"1,5"_s;
    QTest::newRow("every point") << u"de_DE"_s << u"1.5.2"_s << u"1,5,2"_s;
    QTest::newRow("none") << u"de_DE"_s << u"15"_s << u"15"_s;
    QTest::newRow("empty") << u"de_DE"_s << QString() << QString();
    QTest::newRow("commas stay") << u"de_DE"_s << u"1,5"_s << u"1,5"_s;
    QTest::newRow("Arabic") << u"ar_EG"_s << u"1.5"_s
                            << QString(u'1' + QLocale(u"ar_EG"_s).decimalPoint() + u'5');
}

void VKQtLocaleTest::decimalPoint() {
    QFETCH(QString, name);
    QFETCH(QString, number);
    QFETCH(QString, expected);
    const DefaultLocale asDefault{QLocale(name)};
    QCOMPARE(VKQtLocale::convertDecimalChar(number), expected);
}

void VKQtLocaleTest::labels_data() {
    QTest::addColumn<QByteArray>("userDirs");
    QTest::addColumn<QStandardPaths::StandardLocation>("location");
    QTest::addColumn<QString>("label");
    const auto pictures = QStandardPaths::PicturesLocation;
    QTest::newRow("English name") << QByteArray() << pictures << u"Pictures"_s;
    QTest::newRow("desktop") << QByteArray() << QStandardPaths::DesktopLocation << u"Desktop"_s;
    QTest::newRow("the user's own name")
        << QByteArray("XDG_PICTURES_DIR=\"$HOME/Bilder\"\n") << pictures << u"Bilder"_s;
    QTest::newRow("elsewhere") << QByteArray("XDG_PICTURES_DIR=\"/srv/photos/\"\n") << pictures
                               << u"photos"_s;
    QTest::newRow("switched off") << QByteArray("XDG_PICTURES_DIR=\"$HOME/\"\n") << pictures << QString();
    QTest::newRow("home") << QByteArray() << QStandardPaths::HomeLocation << u"home"_s;
}

void VKQtLocaleTest::labels() {
    QFETCH(QByteArray, userDirs);
    QFETCH(QStandardPaths::StandardLocation, location);
    QFETCH(QString, label);
    writeUserDirs(userDirs);
    const bool isMac = std::strcmp(vkTestPlatformRules(), "macos") == 0;
    QCOMPARE(VKQtLocale::getLocalizedDirectoryLabel(location),
             isMac ? QStandardPaths::displayName(location) : label);
    writeUserDirs(QByteArray());
}

void VKQtLocaleTest::labelOfPath() {
    QCOMPARE(VKQtLocale::getLocalizedDirectoryLabel(u"/home/a/Desktop"_s), QString());
    QCOMPARE(VKQtLocale::getLocalizedDirectoryLabel(QString()), QString());
}

void VKQtLocaleTest::translations_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("word");
    QTest::addColumn<bool>("spoken");
    QTest::newRow("German") << u"de_DE"_s << u"Kopie"_s << true;
    QTest::newRow("German in Switzerland") << u"de_CH"_s << u"Kopie"_s << true;
    QTest::newRow("French") << u"fr_CA"_s << u"copie"_s << true;
    QTest::newRow("Spanish") << u"es_ES"_s << u"copia"_s << true;
    QTest::newRow("Japanese") << u"ja_JP"_s << u"コピー"_s << true;
    QTest::newRow("English needs none") << u"en_US"_s << u"copy"_s << true;
    QTest::newRow("C") << u"C"_s << u"copy"_s << true;
    QTest::newRow("not spoken") << u"fi_FI"_s << u"copy"_s << false;
}

void VKQtLocaleTest::translations() {
    QFETCH(QString, name);
    QFETCH(QString, word);
    QFETCH(bool, spoken);
    QCOMPARE(copyWord(), u"copy"_s);
    QCOMPARE(VKQtLocale::installTranslations(QLocale(name)), spoken);
    QCOMPARE(copyWord(), word);
    QVERIFY(VKQtLocale::installTranslations(QLocale::c()));
    QCOMPARE(copyWord(), u"copy"_s);
}

void VKQtLocaleTest::languageChanges() {
    const DefaultLocale asDefault{QLocale(u"fr_FR"_s)};
    QVERIFY(VKQtLocale::installTranslations());
    QCOMPARE(copyWord(), u"copie"_s);
    QVERIFY(VKQtLocale::installTranslations(QLocale(u"de_DE"_s)));
    QVERIFY(VKQtLocale::installTranslations(QLocale(u"de_DE"_s)));
    QCOMPARE(copyWord(), u"Kopie"_s);
    // It goes with the application.
    QCOMPARE(QCoreApplication::instance()->findChildren<QTranslator*>().size(), 1);
    // One translator at a time: English is back at once.
    QVERIFY(!VKQtLocale::installTranslations(QLocale(u"fi_FI"_s)));
    QCOMPARE(copyWord(), u"copy"_s);
}

namespace {

class OwnTranslator : public QTranslator {
public:
    QString translate(const char* context, const char* text, const char*, int) const override {
        return std::strcmp(context, "VKQtPathUtils") == 0 && std::strcmp(text, "copy") == 0 ? u"Duplikat"_s
                                                                                            : QString();
    }
    bool isEmpty() const override { return false; }
};

} // namespace

void VKQtLocaleTest::applicationsTranslatorWins() {
    QVERIFY(VKQtLocale::installTranslations(QLocale(u"de_DE"_s)));
    OwnTranslator own;
    QVERIFY(QCoreApplication::installTranslator(&own));
    QCOMPARE(copyWord(), u"Duplikat"_s);
    QCoreApplication::removeTranslator(&own);
    QCOMPARE(copyWord(), u"Kopie"_s);
    QVERIFY(VKQtLocale::installTranslations(QLocale::c()));
}

int main(int argc, char** argv) {
    if (argc == 2 && std::strcmp(argv[1], "report") == 0) {
        return reportPreferredLanguage();
    }
    return vkTestRun(argc, argv, [] { return std::unique_ptr<QObject>(std::make_unique<VKQtLocaleTest>()); });
}

#include "VKQtLocaleTest.moc"

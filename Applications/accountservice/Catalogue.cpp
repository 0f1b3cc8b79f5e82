// A table of products, and the JSON that is made of its rows.
#include "Catalogue.h"

#include <QCryptographicHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QVersionNumber>

#include <array>
#include <span>

namespace AccountService {

using namespace Qt::StringLiterals;

namespace {

enum Language { kEnglish, kGerman, kFrench };

/// A text in English, German and French.
using Texts = std::array<const char16_t*, 3>;

enum class For { Everybody, Home, Professional };

struct Product {
    const char16_t* name;
    const char16_t* type;
    const char16_t* version;
    const char16_t* released;
    For edition;
    bool isFree;
    bool isMobile;
    int megabytes;
    int videoMegabytes; ///< 0: it says nothing about graphics.
    Texts description;
};

// clang-format off
constexpr Product kProducts[] = {
    {u"Kestrel", u"application", u"12.2.0", u"2026-10-06", For::Everybody, false, false, 412, 2048,
     {u"Browse, develop and finish photos in one place.", u"Fotos sichten, entwickeln und ausarbeiten, alles an einem Ort.", u"Trier, développer et finaliser vos photos au même endroit."}},
    {u"Kestrel Portrait", u"plugin", u"4.1.2", u"2026-09-15", For::Everybody, false, false, 188, 4096,
     {u"Skin, eyes and light for portraits.", u"Haut, Augen und Licht für Porträts.", u"Peau, regard et lumière pour le portrait."}},
    {u"Kestrel Monochrome", u"plugin", u"5.0.1", u"2026-08-20", For::Everybody, false, false, 143, 2048,
     {u"Black and white with the grain of film.", u"Schwarzweiß mit dem Korn von Film.", u"Le noir et blanc avec le grain de la pellicule."}},
    {u"Kestrel Color", u"plugin", u"5.0.3", u"2026-08-20", For::Everybody, false, false, 167, 2048,
     {u"Colour looks that can be mixed.", u"Farbstile, die sich mischen lassen.", u"Des rendus couleur à combiner."}},
    {u"Kestrel Sharpen", u"plugin", u"3.4.0", u"2026-05-04", For::Everybody, false, false, 96, 2048,
     {u"Sharpness where it belongs.", u"Schärfe dort, wo sie hingehört.", u"De la netteté là où il en faut."}},
    {u"Kestrel Denoise", u"plugin", u"6.0.0", u"2026-11-03", For::Everybody, false, false, 521, 6144,
     {u"Takes the noise and keeps the detail.", u"Nimmt das Rauschen und lässt die Zeichnung.", u"Enlève le bruit, garde le détail."}},
    {u"Kestrel Panorama", u"application", u"2.3.1", u"2026-03-12", For::Home, false, false, 204, 4096,
     {u"Joins photos to wide views.", u"Fügt Fotos zu weiten Ansichten.", u"Assemble vos photos en vues larges."}},
    {u"Kestrel Exposure Merge", u"application", u"4.2.0", u"2026-06-23", For::Professional, false, false, 176, 4096,
     {u"One photo of many exposures.", u"Ein Foto aus vielen Belichtungen.", u"Une photo à partir de plusieurs expositions."}},
    {u"Kestrel Geometry", u"plugin", u"2.0.4", u"2026-02-11", For::Professional, false, false, 58, 1024,
     {u"Straight lines, also with wide lenses.", u"Gerade Linien, auch mit Weitwinkel.", u"Des lignes droites, même au grand-angle."}},
    {u"Kestrel Tether", u"application", u"1.8.0", u"2026-07-30", For::Professional, false, false, 82, 0,
     {u"Shoots with the camera on the cable.", u"Fotografiert mit der Kamera am Kabel.", u"La prise de vue, l'appareil au bout du câble."}},
    {u"Kestrel Print", u"application", u"3.1.5", u"2026-04-18", For::Everybody, false, false, 91, 0,
     {u"Layouts, soft proofs and rolls.", u"Layouts, Softproof und Rollenpapier.", u"Mises en page, épreuves et rouleaux."}},
    {u"Kestrel Viewer", u"application", u"12.2.0", u"2026-10-06", For::Everybody, true, false, 64, 0,
     {u"Looks at every photo of the suite, for nothing.", u"Zeigt jedes Foto der Suite, kostenlos.", u"Affiche toutes vos photos, gratuitement."}},
    {u"Kestrel Pocket", u"application", u"3.0.0", u"2026-10-01", For::Everybody, true, true, 48, 0,
     {u"The collection on the phone.", u"Die Sammlung auf dem Telefon.", u"La collection sur le téléphone."}},
    {u"Kestrel Transfer", u"application", u"2.6.1", u"2026-01-27", For::Everybody, true, true, 31, 0,
     {u"From the phone to the computer without a cable.", u"Vom Telefon auf den Rechner, ohne Kabel.", u"Du téléphone à l'ordinateur, sans câble."}},
    {u"Presets: Northern Light", u"presets", u"1.2", u"2025-12-01", For::Everybody, false, false, 12, 0,
     {u"Forty cool looks.", u"Vierzig kühle Stile.", u"Quarante rendus froids."}},
    {u"Presets: Golden Hour", u"presets", u"1.4", u"2025-12-01", For::Everybody, false, false, 14, 0,
     {u"Forty warm looks.", u"Vierzig warme Stile.", u"Quarante rendus chauds."}},
    {u"Presets: Street", u"presets", u"1.0", u"2026-02-02", For::Home, false, false, 9, 0,
     {u"Thirty hard looks.", u"Dreißig harte Stile.", u"Trente rendus durs."}},
    {u"Presets: First Steps", u"presets", u"2.0", u"2025-09-09", For::Home, true, false, 3, 0,
     {u"Ten looks to begin with.", u"Zehn Stile für den Anfang.", u"Dix rendus pour commencer."}},
    {u"Textures: Paper", u"textures", u"1.1", u"2025-11-11", For::Everybody, false, false, 240, 0,
     {u"Sixty scanned papers.", u"Sechzig gescannte Papiere.", u"Soixante papiers numérisés."}},
    {u"Camera Profiles 2026", u"profiles", u"2026.11", u"2026-11-10", For::Everybody, true, false, 77, 0,
     {u"Colour of the cameras of the year.", u"Die Farben der Kameras des Jahres.", u"Les couleurs des boîtiers de l'année."}},
    {u"Lens Profiles 2026", u"profiles", u"2026.11", u"2026-11-10", For::Everybody, true, false, 39, 0,
     {u"Corrections for 1,400 lenses.", u"Korrekturen für 1400 Objektive.", u"Des corrections pour 1 400 objectifs."}},
};
// clang-format on

Language languageOf(const QString& name) {
    const QString code = name.left(2).toLower();
    if (code == "de"_L1) {
        return kGerman;
    }
    return code == "fr"_L1 ? kFrench : kEnglish;
}

QString text(const char16_t* characters) { return QStringView(characters).toString(); }

QString base64(const QJsonObject& object) {
    return QString::fromLatin1(QJsonDocument(object).toJson(QJsonDocument::Compact).toBase64());
}

QJsonObject macRequirements(const Product& product) {
    return {{u"version"_s, 1},
            {u"vram"_s, qint64{product.videoMegabytes} << 20},
            {u"os"_s, QJsonObject{{u"major"_s, 12}, {u"minor"_s, 6}, {u"patch"_s, 1}}}};
}

QJsonObject winRequirements(const Product& product) {
    return {{u"version"_s, 1},
            {u"vram"_s, qint64{product.videoMegabytes} << 20},
            {u"vulcan"_s, QJsonObject{{u"present"_s, product.videoMegabytes > 0}}},
            {u"directx"_s, QJsonObject{{u"major"_s, 12}, {u"minor"_s, 0}}},
            {u"os"_s, QJsonObject{{u"build"_s, 19045}}}};
}

/// "Presets: Golden Hour" -> "presets-golden-hour"
QString slugOf(const QString& name) {
    QString slug;
    for (const QChar character : name.toLower()) {
        if (character.isLetterOrNumber()) {
            slug += character;
        } else if (!slug.isEmpty() && !slug.endsWith(u'-')) {
            slug += u'-';
        }
    }
    return slug;
}

QString checksumOf(const QString& url) {
    return QString::fromLatin1(QCryptographicHash::hash(url.toUtf8(), QCryptographicHash::Md5).toHex());
}

void addDownloads(QJsonObject& entry, const Product& product, const QString& slug) {
    constexpr qint64 kMegabyte = 1'000'000;
    const QString base = u"https://downloads.example.test/"_s + slug + u'-' + text(product.version);
    if (product.isMobile) {
        entry.insert(u"android_url"_s, QString(u"https://phones.example.test/a/"_s + slug));
        entry.insert(u"ios_url"_s, QString(u"https://phones.example.test/i/"_s + slug));
        return;
    }
    const QString mac = base + u".dmg"_s;
    const QString win = base + u".msi"_s;
    entry.insert(u"mac_url"_s, mac);
    entry.insert(u"mac_md5"_s, checksumOf(mac));
    entry.insert(u"mac_size"_s, product.megabytes * kMegabyte);
    entry.insert(u"win_url"_s, win);
    entry.insert(u"win_md5"_s, checksumOf(win));
    entry.insert(u"win_size"_s, product.megabytes * kMegabyte + kMegabyte / 2);
    entry.insert(u"mac_requirements"_s, base64(macRequirements(product)));
    entry.insert(u"win_requirements"_s, base64(winRequirements(product)));
}

bool isNewer(const Product& product, const QString& version) {
    return QVersionNumber::fromString(QStringView(product.version)) > QVersionNumber::fromString(version);
}

QString updateText(const Product& product, Language language) {
    constexpr Texts kTexts = {u"Version %1 is ready to be installed.", u"Version %1 kann installiert werden.",
                              u"La version %1 peut être installée."};
    return text(std::span(kTexts)[language]).arg(text(product.version));
}

QJsonObject entryOf(const Product& product, const CatalogueQuery& query, int round) {
    const Language language = languageOf(query.language);
    // The first round is the catalogue itself.
    const QString name =
        round == 0 ? text(product.name) : QString(text(product.name) + u' ' + QString::number(round + 1));
    const QString slug = slugOf(name);
    const QString page = u"https://products.example.test/"_s + slug;
    const QString description = text(std::span(product.description)[language]);
    QJsonObject entry{{u"product_type"_s, text(product.type)},
                      {u"name"_s, name},
                      {u"ignore"_s, false},
                      {u"sku"_s, slug.toUpper()},
                      {u"free"_s, product.isFree},
                      {u"description"_s, description},
                      {u"tooltip"_s, QString(name + u": "_s + description)},
                      {u"version"_s, text(product.version)},
                      {u"release_date"_s, text(product.released)},
                      {u"mobile"_s, product.isMobile},
                      {u"developer"_s, false},
                      {u"prerelease"_s, false},
                      {u"product_url"_s, page},
                      {u"tutorial_url"_s, QString(page + u"/tutorial"_s)},
                      {u"icon_url"_s, QString(page + u"/icon.png"_s)},
                      {u"updated"_s, QString(text(product.released) + u"T09:00:00Z"_s)}};
    if (query.productName == name && isNewer(product, query.currentVersion)) {
        entry.insert(u"update_text"_s, updateText(product, language));
    }
    addDownloads(entry, product, slug);
    return entry;
}

bool belongsTo(const Product& product, const QString& edition) {
    return edition.isEmpty() || product.edition == For::Everybody ||
           (product.edition == For::Home) == (edition == editions().constFirst());
}

} // namespace

const QStringList& editions() {
    static const QStringList sEditions = {u"home"_s, u"professional"_s};
    return sEditions;
}

QJsonArray catalogue(const CatalogueQuery& query, int count) {
    QJsonArray entries;
    for (int round = 0; round == 0 || entries.size() < count; ++round) {
        for (const Product& product : kProducts) {
            if (belongsTo(product, query.edition) && (count == 0 || entries.size() < count)) {
                entries.append(entryOf(product, query, round));
            }
        }
    }
    return entries;
}

} // namespace AccountService

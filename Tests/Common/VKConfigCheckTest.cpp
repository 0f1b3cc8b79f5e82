// What checking tells of a file, where, and that it, the published schema and loading agree.
#include "VKConfigCheck.h"

#include "ConfigStoreSupport.h"
#include "VKConfigQuickLoad.h"

#include <QFile>
#include <QJsonArray>

using namespace Config;
using Severity = VKConfigCheck::Severity;

namespace {

/// "line:column error place: message", one for each finding.
QStringList shown(const QList<VKConfigCheck::t_Finding>& findings) {
    QStringList lines;
    for (const VKConfigCheck::t_Finding& finding : findings) {
        lines << u"%1:%2 %3 %4: %5"_s.arg(finding.line)
                     .arg(finding.column)
                     .arg(finding.severity == Severity::Error ? u"error"_s : u"warning"_s, finding.place,
                          finding.message);
    }
    return lines;
}

bool hasErrors(const QList<VKConfigCheck::t_Finding>& findings) {
    return std::any_of(findings.begin(), findings.end(), [](const VKConfigCheck::t_Finding& finding) {
        return finding.severity == Severity::Error;
    });
}

/// As much of JSON Schema as the published schema uses.
class Schema {
public:
    explicit Schema(const QJsonObject& root) : mRoot(root) {}

    [[nodiscard]] bool accepts(const QJsonValue& value) const { return accepts(mRoot, value); }

    /// Keywords that this class does not know: the schema would promise more than the tests hold.
    [[nodiscard]] static QStringList unknownKeywords(const QJsonObject& schema) {
        static const QStringList sKnown = {u"$schema"_s,  u"title"_s,      u"description"_s, u"type"_s,
                                           u"required"_s, u"properties"_s, u"items"_s,       u"$ref"_s,
                                           u"$defs"_s,    u"anyOf"_s,      u"const"_s,       u"minimum"_s,
                                           u"maximum"_s};
        QStringList unknown;
        for (const QString& key : schema.keys()) {
            if (!sKnown.contains(key)) {
                unknown << key;
            }
        }
        for (const QString& group : {u"properties"_s, u"$defs"_s}) {
            for (const QJsonValue entry : schema.value(group).toObject()) {
                unknown << unknownKeywords(entry.toObject());
            }
        }
        for (const QJsonValue entry : schema.value(u"anyOf"_s).toArray()) {
            unknown << unknownKeywords(entry.toObject());
        }
        return unknown;
    }

private:
    [[nodiscard]] bool accepts(const QJsonObject& schema, const QJsonValue& value) const {
        if (schema.contains(u"$ref"_s)) {
            const QString name = schema.value(u"$ref"_s).toString().mid(int(qstrlen("#/$defs/")));
            const QJsonValue target = mRoot.value(u"$defs"_s).toObject().value(name);
            if (!target.isObject() || !accepts(target.toObject(), value)) {
                return false;
            }
        }
        return acceptsType(schema.value(u"type"_s).toString(), value) && acceptsValue(schema, value) &&
               acceptsMembers(schema, value.toObject()) && acceptsElements(schema, value.toArray());
    }

    static bool acceptsType(const QString& type, const QJsonValue& value) {
        if (type == u"integer") {
            return value.isDouble() && value.toDouble() == std::trunc(value.toDouble());
        }
        return type.isEmpty() || (type == u"object" && value.isObject()) ||
               (type == u"array" && value.isArray()) || (type == u"string" && value.isString()) ||
               (type == u"boolean" && value.isBool());
    }

    [[nodiscard]] bool acceptsValue(const QJsonObject& schema, const QJsonValue& value) const {
        const QJsonArray choices = schema.value(u"anyOf"_s).toArray();
        const bool any =
            choices.isEmpty() || std::any_of(choices.begin(), choices.end(), [&](const QJsonValue& choice) {
                return accepts(choice.toObject(), value);
            });
        return any && (!schema.contains(u"const"_s) || schema.value(u"const"_s) == value) &&
               (!schema.contains(u"minimum"_s) ||
                value.toDouble() >= schema.value(u"minimum"_s).toDouble()) &&
               (!schema.contains(u"maximum"_s) || value.toDouble() <= schema.value(u"maximum"_s).toDouble());
    }

    [[nodiscard]] bool acceptsMembers(const QJsonObject& schema, const QJsonObject& object) const {
        for (const QJsonValue key : schema.value(u"required"_s).toArray()) {
            if (!object.contains(key.toString())) {
                return false;
            }
        }
        const QJsonObject properties = schema.value(u"properties"_s).toObject();
        for (const QString& key : object.keys()) {
            if (properties.contains(key) && !accepts(properties.value(key).toObject(), object.value(key))) {
                return false;
            }
        }
        return true;
    }

    [[nodiscard]] bool acceptsElements(const QJsonObject& schema, const QJsonArray& array) const {
        const QJsonValue items = schema.value(u"items"_s);
        return !items.isObject() || std::all_of(array.begin(), array.end(), [&](const QJsonValue& element) {
            return accepts(items.toObject(), element);
        });
    }

    QJsonObject mRoot;
};

/// Every text that differs from the object by one member: left out, or of another type or value.
void addMutations(const QJsonValue& value,
                  const std::function<void(const QJsonValue&, const QString&)>& emitted,
                  const QString& place) {
    static const QJsonArray sOthers = {
        QJsonValue(),  true,         0, 1, 2, 3, -5, 1.5, 2147483648.0, u""_s, u"text"_s, QJsonArray(),
        QJsonArray{1}, QJsonObject()};
    for (const QJsonValue other : sOthers) {
        emitted(other,
                place + u" = "_s +
                    QString::fromUtf8(QJsonDocument(QJsonArray{other}).toJson(QJsonDocument::Compact)));
    }
    if (value.isObject()) {
        const QJsonObject object = value.toObject();
        for (const QString& key : object.keys()) {
            QJsonObject without = object;
            without.remove(key);
            emitted(without, place + u" without "_s + key);
            addMutations(
                object.value(key),
                [&](const QJsonValue& changed, const QString& what) {
                    QJsonObject with = object;
                    with.insert(key, changed);
                    emitted(with, what);
                },
                place + u'/' + key);
        }
    }
    if (value.isArray()) {
        const QJsonArray array = value.toArray();
        for (qsizetype i = 0; i < array.size(); ++i) {
            addMutations(
                array[i],
                [&](const QJsonValue& changed, const QString& what) {
                    QJsonArray with = array;
                    with.replace(i, changed);
                    emitted(with, what);
                },
                place + u'/' + QString::number(i));
        }
    }
}

} // namespace

class VKConfigCheckTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void findsNothing();
    void findings_data();
    void findings();
    void userFindings_data();
    void userFindings();
    void brokenDefaultsArePassedOver();
    void linesAndColumns_data();
    void linesAndColumns();
    void findingsLimit_data();
    void findingsLimit();
    void schemaIsUnderstood();
    void agrees_data();
    void agrees();

private:
    QJsonObject mSchema;
};

void VKConfigCheckTest::initTestCase() {
    registerBundles();
    QFile file(QStringLiteral(VKTEST_SOURCE_TREE "/Documentation/VKConfig.schema.json"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    mSchema = QJsonDocument::fromJson(file.readAll()).object();
    QVERIFY(mSchema.contains(u"$defs"_s));
}

void VKConfigCheckTest::findsNothing() {
    QCOMPARE(shown(VKConfigCheck::checkDefaults(exampleDefaults())), QStringList());
    QCOMPARE(shown(VKConfigCheck::checkUserFile(exampleDefaults(), exampleDefaults())), QStringList());
    // What the system writes is a user's file without findings.
    const Defaults defaults(exampleDefaults());
    const Owned<VKConfig> config = make<VKConfig>();
    QCOMPARE(initialize(*config, newProduct()), kVKStatusSuccess);
    QByteArray saved;
    QCOMPARE(config->createArchive(nullptr, saved), kVKStatusSuccess);
    QCOMPARE(shown(VKConfigCheck::checkUserFile(saved, exampleDefaults())), QStringList());
    QVERIFY(Schema(mSchema).accepts(QJsonDocument::fromJson(saved).object()));
}

void VKConfigCheckTest::findings_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QStringList>("expected");
    const auto root = [](const QByteArray& rest) {
        return quoted("{'class_id':'m','version':1" + rest + '}');
    };
    const auto item = [&root](const QByteArray& members) {
        return root(",'children':[\n{'class_id':'b','display_name':'B','items':[\n{" + members + "}\n]}]");
    };
    const QByteArray name = "'name':'n','display_name':'N',";
    const QString itemPlace = u"children[0].items[0]"_s;
    QTest::newRow("no JSON") << QByteArray("{\n\"a\" 1}")
                             << QStringList(u"2:5 error : a colon should be here"_s);
    QTest::newRow("an array") << QByteArray(" []")
                              << QStringList(u"1:2 error : a configuration is an object"_s);
    QTest::newRow("nothing needed") << QByteArray("{}")
                                    << QStringList({u"1:1 error : \"class_id\" is missing"_s,
                                                    u"1:1 warning : \"version\" is missing"_s,
                                                    u"1:1 warning : \"children\" is missing"_s});
    QTest::newRow("wrong types")
        << quoted(
               "{'class_id':1,'version':'1','weight':1.5,'sort_by_weight':'x','enabled':null,'children':{}}")
        << QStringList({u"1:13 error class_id: a text is expected"_s,
                        u"1:25 error version: a whole number of 32 bits is expected"_s,
                        u"1:38 error weight: a whole number of 32 bits is expected"_s,
                        u"1:59 error sort_by_weight: a whole number or a boolean is expected"_s,
                        u"1:73 error enabled: a whole number or a boolean is expected"_s,
                        u"1:89 error children: an array is expected"_s});
    QTest::newRow("an unknown key") << root(",'children':[],'colour':1")
                                    << QStringList(
                                           u"1:43 warning colour: \"colour\" is not known and not read"_s);
    QTest::newRow("a key twice")
        << root(",'children':[],'version':1")
        << QStringList(u"1:43 warning version: \"version\" is here twice; the last one counts"_s);
    QTest::newRow("a bundle that is none")
        << root(",'children':[7]") << QStringList(u"1:41 error children[0]: a bundle is an object"_s);
    QTest::newRow("an empty bundle") << root(",'children':[{}]")
                                     << QStringList(
                                            {u"1:41 error children[0]: \"class_id\" is missing"_s,
                                             u"1:41 warning children[0]: \"display_name\" is missing"_s,
                                             u"1:41 error children[0]: \"items\" is missing"_s});
    QTest::newRow("a bundle twice")
        << root(",'children':[{'class_id':'b','display_name':'B','items':[]},\n"
                "{'class_id':'b','display_name':'B','items':[]}]")
        << QStringList(u"2:1 warning children[1]: there is a bundle \"b\" before; this one is not found"_s);
    QTest::newRow("an item that is none")
        << root(",'children':[{'class_id':'b','display_name':'B','items':[\n[]]}]")
        << QStringList(u"2:1 error "_s + itemPlace + u": an item is an object"_s);
    QTest::newRow("an empty item") << item("")
                                   << QStringList(
                                          {u"3:1 error "_s + itemPlace + u": \"name\" is missing"_s,
                                           u"3:1 error "_s + itemPlace + u": \"display_name\" is missing"_s,
                                           u"3:1 error "_s + itemPlace + u": \"value_type\" is missing"_s});
    QTest::newRow("an unknown type")
        << item(name + "'value_type':3")
        << QStringList(u"3:45 error "_s + itemPlace +
                       u".value_type: the types are 1 (on or off) and 2 (one of several numbers)"_s);
    QTest::newRow("a number for a boolean")
        << item(name + "'value_type':1,'value':1")
        << QStringList(u"3:55 error "_s + itemPlace + u".value: true or false is expected"_s);
    QTest::newRow("a boolean for a number")
        << item(name + "'value_type':2,'value':true,'values':[]")
        << QStringList(u"3:55 error "_s + itemPlace + u".value: a whole number of 32 bits is expected"_s);
    QTest::newRow("none of the choices")
        << item(name + "'value_type':2,'value':7,'values':[{'display_name':'a','value':1}]")
        << QStringList(u"3:55 warning "_s + itemPlace + u".value: 7 is none of the choices"_s);
    QTest::newRow("broken choices")
        << item(name + "'value_type':2,'value':0,'sort_alphabetically':1,'values':[{},2,{'value':0,'display_"
                       "name':1}]")
        << QStringList({u"3:79 error "_s + itemPlace + u".sort_alphabetically: true or false is expected"_s,
                        u"3:91 error "_s + itemPlace + u".values[0]: \"display_name\" is missing"_s,
                        u"3:91 error "_s + itemPlace + u".values[0]: \"value\" is missing"_s,
                        u"3:94 error "_s + itemPlace + u".values[1]: a choice is an object"_s,
                        u"3:122 error "_s + itemPlace + u".values[2].display_name: a text is expected"_s});
    QTest::newRow("an item twice")
        << root(",'children':[{'class_id':'b','display_name':'B','items':[{" + name +
                "'value_type':1,'value':true},\n{" + name + "'value_type':1,'value':true}]}]")
        << QStringList(
               u"2:1 warning children[0].items[1]: there is an item \"n\" before; this one is not found"_s);
}

void VKConfigCheckTest::findings() {
    QFETCH(QByteArray, text);
    QTEST(shown(VKConfigCheck::checkDefaults(text)), "expected");
}

void VKConfigCheckTest::userFindings_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QStringList>("expected");
    const auto user = [](const QByteArray& bundles, const QByteArray& version) {
        return quoted("{'class_id':'m','version':" + version + ",'children':[\n" + bundles + "]}");
    };
    const auto view = [&user](const QByteArray& item) {
        return user("{'class_id':'view','items':[\n{" + item + "}]}", "1");
    };
    QTest::newRow("another version") << user("", "2")
                                     << QStringList(
                                            u"1:27 warning version: the defaults state version 1: the whole "
                                            "file is ignored"_s);
    QTest::newRow("an unknown bundle")
        << user("{'class_id':'old','items':[]}", "1")
        << QStringList(u"2:1 warning children[0]: the defaults have no bundle \"old\"; it will be dropped"_s);
    QTest::newRow("an unknown item")
        << view("'name':'old','display_name':'O','value_type':1,'value':true")
        << QStringList(
               u"3:1 warning children[0].items[0]: the defaults have no item \"old\"; it will be dropped"_s);
    QTest::newRow("another kind")
        << view("'name':'zoom','display_name':'Z','value_type':1,'value':true")
        << QStringList(
               u"3:1 warning children[0].items[0]: the defaults have \"zoom\" as another kind; the default "
               "stays"_s);
    QTest::newRow("no choice of the defaults")
        << view("'name':'zoom','display_name':'Z','value_type':2,'value':9,'values':[{'display_name':'x','"
                "value':9}]")
        << QStringList(u"3:58 warning children[0].items[0].value: 9 is none of the choices"_s);
    QTest::newRow("a choice of the defaults, none of its own")
        << view("'name':'zoom','display_name':'Z','value_type':2,'value':2,'values':[]") << QStringList();
}

void VKConfigCheckTest::userFindings() {
    QFETCH(QByteArray, text);
    QTEST(shown(VKConfigCheck::checkUserFile(text, exampleDefaults())), "expected");
}

void VKConfigCheckTest::brokenDefaultsArePassedOver() {
    const QByteArray text = quoted("{'class_id':'m','version':2,'children':[]}");
    QCOMPARE(shown(VKConfigCheck::checkUserFile(text, "{")), QStringList());
}

void VKConfigCheckTest::linesAndColumns_data() {
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<int>("line");
    QTest::addColumn<int>("column");
    QTest::newRow("start") << QByteArray() << 1 << 1;
    QTest::newRow("blanks") << QByteArray("   ") << 1 << 4;
    QTest::newRow("lines") << QByteArray("\n\n ") << 3 << 2;
    QTest::newRow("lines of another system") << QByteArray("\r\n\r\n ") << 3 << 2;
    QTest::newRow("tabulators are one column") << QByteArray("\t\t") << 1 << 3;
    QTest::newRow("a byte-order mark is none") << QByteArray("\xef\xbb\xbf ") << 1 << 2;
    QTest::newRow("characters, not bytes")
        << QByteArray("[\"\xc3\xa9\xe4\xb8\xad\xf0\x9f\x98\x80\",") << 1 << 8;
}

void VKConfigCheckTest::linesAndColumns() {
    QFETCH(QByteArray, before);
    const QList<VKConfigCheck::t_Finding> findings = VKConfigCheck::checkDefaults(before + 'x');
    QCOMPARE(findings.size(), 1);
    QTEST(findings[0].line, "line");
    QTEST(findings[0].column, "column");
}

void VKConfigCheckTest::findingsLimit_data() {
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("told");
    QTest::newRow("below") << VKConfigCheck::kMaxFindings - 1 << VKConfigCheck::kMaxFindings - 1;
    QTest::newRow("at") << VKConfigCheck::kMaxFindings << VKConfigCheck::kMaxFindings;
    QTest::newRow("beyond") << VKConfigCheck::kMaxFindings + 1 << VKConfigCheck::kMaxFindings;
}

void VKConfigCheckTest::findingsLimit() {
    QFETCH(int, count);
    const QByteArray text = quoted("{'class_id':'m','version':1,'children':[") +
                            QByteArray("1,").repeated(count).chopped(1) + "]}";
    QTEST(int(VKConfigCheck::checkDefaults(text).size()), "told");
}

void VKConfigCheckTest::schemaIsUnderstood() { QCOMPARE(Schema::unknownKeywords(mSchema), QStringList()); }

void VKConfigCheckTest::agrees_data() {
    QTest::addColumn<QByteArray>("text");
    const QJsonObject start =
        QJsonDocument::fromJson(
            quoted("{'class_id':'m','version':1,'weight':0,'sort_by_weight':0,'enabled':1,'children':["
                   "{'class_id':'b','display_name':'B','weight':1,'items':["
                   "{'name':'f','display_name':'F','value_type':1,'value':true},"
                   "{'name':'n','display_name':'N','value_type':2,'value':1,'sort_alphabetically':true,"
                   "'values':[{'display_name':'x','value':1}]}]}]}"))
            .object();
    int number = 0;
    addMutations(
        start,
        [&number](const QJsonValue& changed, const QString& what) {
            if (changed.isObject()) {
                QTest::addRow("%d %s", ++number, qPrintable(what))
                    << QJsonDocument(changed.toObject()).toJson();
            }
        },
        QString());
}

// A text has an error exactly where the schema refuses it; and one without loads, whole.
void VKConfigCheckTest::agrees() {
    QFETCH(QByteArray, text);
    const QJsonObject object = QJsonDocument::fromJson(text).object();
    const QList<VKConfigCheck::t_Finding> findings = VKConfigCheck::checkDefaults(text);
    QVERIFY2(hasErrors(findings) != Schema(mSchema).accepts(object), qPrintable(shown(findings).join(u'\n')));
    CoreKit::LogCapture log;
    const Owned<VKConfigModel> model = make<VKConfigModel>();
    const VKStatus status = model->loadInfo(nullptr, object);
    // Read in one pass it is the same model, or left alone.
    const Owned<VKConfigModel> quick = make<VKConfigModel>();
    const QByteArray before = stateOf(*quick);
    if (VKConfigDetail::quickLoad(*quick, text)) {
        QCOMPARE(status, kVKStatusSuccess);
        QCOMPARE(stateOf(*quick), stateOf(*model));
    } else {
        QCOMPARE(stateOf(*quick), before);
    }
    if (!hasErrors(findings)) {
        QCOMPARE(status, kVKStatusSuccess);
        QJsonObject info;
        QCOMPARE(model->createInfo(nullptr, info), kVKStatusSuccess);
        QVERIFY(Schema(mSchema).accepts(info)); // what is written, too
    }
}

VKTEST_MAIN(VKConfigCheckTest)
#include "VKConfigCheckTest.moc"

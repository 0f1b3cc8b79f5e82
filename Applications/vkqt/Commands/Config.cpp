// vkqt config: the settings of an example product, whose defaults are compiled into this program.
#include "Items.h"
#include "Results.h"
#include "Table.h"
#include "Text.h"

#include <VKConfig.h>
#include <VKConfigBundle.h>
#include <VKConfigCheck.h>
#include <VKConfigItemBool.h>
#include <VKConfigItemInt.h>
#include <VKCoreKit/VKFileMgr.h>
#include <VKCoreKit/VKProduct.h>

#include <QFile>
#include <QFileDevice>
#include <QJsonArray>

#include <algorithm>
#include <optional>

namespace {

using namespace Qt::StringLiterals;
using namespace VKTool;

/// The example product. Its user's file lies beside those of the suite's products and touches none of them.
VKStatus start(VKConfig& config) {
    const CFStringRef product = CFSTR("Example");
    if (const VKStatus status = VKProductRegister(product, nullptr); status != kVKStatusSuccess) {
        return status;
    }
    return config.initialize(product);
}

const VKConfigItemBool* asBool(const VKConfigItem* item) {
    return dynamic_cast<const VKConfigItemBool*>(item);
}
const VKConfigItemInt* asInt(const VKConfigItem* item) { return dynamic_cast<const VKConfigItemInt*>(item); }

QString choiceName(const VKConfigItemInt& item, int value) {
    const auto& choices = item.choices();
    const auto choice =
        std::find_if(choices.begin(), choices.end(),
                     [value](const VKConfigItemInt::Choice& candidate) { return candidate.second == value; });
    return choice == choices.end() ? QString::number(value)
                                   : u"%1 (%2)"_s.arg(choice->first, QString::number(value));
}

QString onOrOff(bool value) { return value ? u"on"_s : u"off"_s; }

QString valueText(const VKConfigItem* item) {
    const VKConfigItemBool* const flag = asBool(item);
    return flag != nullptr ? onOrOff(flag->value()) : choiceName(*asInt(item), asInt(item)->value());
}

QString defaultText(const VKConfigItem* item) {
    const VKConfigItemBool* const flag = asBool(item);
    return flag != nullptr ? onOrOff(flag->defaultValue())
                           : choiceName(*asInt(item), asInt(item)->defaultValue());
}

QString choicesText(const VKConfigItem* item) {
    const VKConfigItemInt* const number = asInt(item);
    if (number == nullptr) {
        return u"on, off"_s;
    }
    QStringList names;
    for (const VKConfigItemInt::Choice& choice : number->choices()) {
        names << choice.first + u" ("_s + QString::number(choice.second) + u')';
    }
    return names.join(u", "_s);
}

QJsonValue jsonValue(const VKConfigItem* item, bool isDefault) {
    if (const VKConfigItemBool* const flag = asBool(item); flag != nullptr) {
        return isDefault ? flag->defaultValue() : flag->value();
    }
    return isDefault ? asInt(item)->defaultValue() : asInt(item)->value();
}

QJsonObject toJson(const VKConfigBundle& bundle, const VKConfigItem* item) {
    QJsonArray choices;
    if (const VKConfigItemInt* const number = asInt(item); number != nullptr) {
        for (const VKConfigItemInt::Choice& choice : number->choices()) {
            choices.append(QJsonObject{{u"name"_s, choice.first}, {u"value"_s, choice.second}});
        }
    }
    return {{u"bundle"_s, bundle.classID()},
            {u"key"_s, item->name()},
            {u"name"_s, item->displayName()},
            {u"value"_s, jsonValue(item, false)},
            {u"default"_s, jsonValue(item, true)},
            {u"changed"_s, !bundle.isDefault(item->name())},
            {u"choices"_s, choices}};
}

int sayFailed(const QString& sentence) {
    complain(u" config: "_s + sentence);
    return kExitFailed;
}

int sayNoFolder() { return sayFailed(u"the folder of the user's settings cannot be made"_s); }

/// The item that two arguments name; null after a complaint.
VKConfigItem* namedItem(VKConfig& config, const QString& bundle, const QString& key) {
    VKConfigItem* const item = config.configItem(bundle, key);
    if (item == nullptr) {
        static_cast<void>(sayFailed(u"there is no setting \"%1\" \"%2\""_s.arg(shown(bundle), shown(key))));
    }
    return item;
}

/// Stores the settings; a failure is told in words, because its number is the framework's.
int save(VKConfig& config) {
    if (config.userFilePath().path().isEmpty()) {
        return sayNoFolder();
    }
    const VKStatus status = config.save();
    if (status == kVKStatusSuccess) {
        return kExitFine;
    }
    const QString reason = status == QFileDevice::OpenError       ? u"cannot be opened for writing"_s
                           : status == QFileDevice::ResourceError ? u"there is no space for it"_s
                                                                  : u"cannot be written"_s;
    return sayFailed(shown(config.userFilePath().path()) + u": "_s + reason);
}

int list(Invocation& invocation, VKConfig& config) {
    Table table;
    for (const QString& title : {u"Bundle"_s, u"Setting"_s, u"Value"_s, u"Default"_s, u"Choices"_s}) {
        table.addColumn(title, Table::Left);
    }
    const QStringList wanted = invocation.arguments().sliced(1);
    {
        Results results(invocation);
        for (int index = 0; index < config.bundleCount(); ++index) {
            const VKConfigBundle& bundle = *config.bundleAtIndex(static_cast<unsigned>(index));
            if (!wanted.isEmpty() && !wanted.contains(bundle.classID())) {
                continue;
            }
            for (const VKConfigItem* const item : bundle.items()) {
                const bool changed = !bundle.isDefault(item->name());
                if (invocation.isOn(u"changed"_s) && !changed) {
                    continue;
                }
                results.add(toJson(bundle, item));
                table.addRow({{.text = shown(bundle.classID())},
                              {.text = shown(item->name())},
                              {.text = shown(valueText(item)),
                               .style = changed ? std::optional(Style::Heading) : std::nullopt},
                              {.text = shown(defaultText(item)), .style = Style::Quiet},
                              {.text = shown(choicesText(item)), .style = Style::Quiet}});
            }
        }
    }
    if (!invocation.isOn(u"json"_s) && !table.isEmpty()) {
        table.write(invocation.output());
    }
    return kExitFine;
}

int get(Invocation& invocation, VKConfig& config) {
    const QStringList& arguments = invocation.arguments();
    const VKConfigItem* const item = namedItem(config, arguments[1], arguments[2]);
    if (item == nullptr) {
        return kExitFailed;
    }
    const VKConfigItemBool* const flag = asBool(item);
    invocation.output().write(
        (flag != nullptr ? onOrOff(flag->value()) : QString::number(asInt(item)->value())) + u'\n');
    return kExitFine;
}

std::optional<bool> flagOf(const QString& text) {
    if (QStringList{u"on"_s, u"true"_s, u"1"_s, u"yes"_s}.contains(text)) {
        return true;
    }
    if (QStringList{u"off"_s, u"false"_s, u"0"_s, u"no"_s}.contains(text)) {
        return false;
    }
    return std::nullopt;
}

/// By number or by name, without regard to case. A number that is no choice only with `any`: the library would take it.
std::optional<int> numberOf(const VKConfigItemInt& item, const QString& text, bool any) {
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    for (const VKConfigItemInt::Choice& choice : item.choices()) {
        if ((isNumber && choice.second == number) || choice.first.compare(text, Qt::CaseInsensitive) == 0) {
            return choice.second;
        }
    }
    return isNumber && any ? std::optional(number) : std::nullopt;
}

int set(Invocation& invocation, VKConfig& config) {
    const QStringList& arguments = invocation.arguments();
    const VKConfigItem* const item = namedItem(config, arguments[1], arguments[2]);
    if (item == nullptr) {
        return kExitFailed;
    }
    const QString before = valueText(item);
    if (const VKConfigItemInt* const numberItem = asInt(item); numberItem != nullptr) {
        const std::optional<int> number = numberOf(*numberItem, arguments[3], invocation.isOn(u"any"_s));
        if (!number.has_value()) {
            return sayFailed(
                u"\"%1\" is none of the choices: %2"_s.arg(shown(arguments[3]), shown(choicesText(item))));
        }
        static_cast<void>(config.setValueInt(arguments[1], arguments[2], *number));
    } else {
        const std::optional<bool> flag = flagOf(arguments[3]);
        if (!flag.has_value()) {
            return sayFailed(u"\"%1\" is neither on nor off"_s.arg(shown(arguments[3])));
        }
        static_cast<void>(config.setValueBool(arguments[1], arguments[2], *flag));
    }
    const int status = save(config);
    if (status == kExitFine) {
        invocation.output().write(
            u"%1: %2 -> %3\n"_s.arg(shown(item->displayName()), shown(before), shown(valueText(item))));
    }
    return status;
}

int reset(Invocation& invocation, VKConfig& config) {
    const QStringList names = invocation.arguments().sliced(1);
    const qsizetype before = config.changedSettings().size();
    if (names.isEmpty()) {
        config.resetAll();
    } else if (names.size() == 1) {
        if (config.resetBundle(names[0]) != kVKStatusSuccess) {
            return sayFailed(u"there is no bundle \"%1\""_s.arg(shown(names[0])));
        }
    } else if (namedItem(config, names[0], names[1]) == nullptr ||
               config.reset(names[0], names[1]) != kVKStatusSuccess) {
        return kExitFailed;
    }
    const int status = save(config);
    if (status == kExitFine) {
        const qsizetype count = before - config.changedSettings().size();
        invocation.output().write(counted(count, u"setting"_s, u"settings"_s) + u" reset\n"_s);
    }
    return status;
}

/// The whole file; null after a complaint.
std::optional<QByteArray> contentOf(Invocation& invocation, const QString& text) {
    const VKQtPath path(absoluteText(text, workingFolder()), false);
    const auto url = VKCFRef<CFURLRef>::adopt(path.createCFUrl());
    VKCFRef<CFDataRef> data;
    // One byte more than is allowed, so that checking tells that a file is too long.
    const VKStatus status = VKFileMgrGetFileContentsWithLimitCopy(
        url.get(), std::uint64_t{VKNode::kMaxJsonBytes} + 1, data.out());
    if (status != kVKStatusSuccess) {
        invocation.fail(text, status);
        return std::nullopt;
    }
    return QByteArray(reinterpret_cast<const char*>(CFDataGetBytePtr(data.get())),
                      CFDataGetLength(data.get()));
}

QJsonObject toJson(const QString& file, const VKConfigCheck::t_Finding& finding) {
    const bool error = finding.severity == VKConfigCheck::Severity::Error;
    return {{u"file"_s, file},
            {u"line"_s, finding.line},
            {u"column"_s, finding.column},
            {u"severity"_s, error ? u"error"_s : u"warning"_s},
            {u"place"_s, finding.place},
            {u"message"_s, finding.message}};
}

QString lineOf(const QString& file, const VKConfigCheck::t_Finding& finding, const Output& output) {
    const bool error = finding.severity == VKConfigCheck::Severity::Error;
    const QString where = u"%1:%2:%3: "_s.arg(shown(file)).arg(finding.line).arg(finding.column);
    const QString place = finding.place.isEmpty() ? QString() : QString(finding.place + u": "_s);
    return where + output.styled(error ? Style::Bad : Style::Heading, error ? u"error"_s : u"warning"_s) +
           u": "_s + shown(place + finding.message) + u'\n';
}

int check(Invocation& invocation, VKConfig& config) {
    QFile resource(u":/Kestrel/VKConfig"_s);
    const QByteArray defaults = resource.open(QIODevice::ReadOnly) ? resource.readAll() : QByteArray();
    QStringList files = invocation.arguments().sliced(1);
    if (files.isEmpty() && config.userFilePath().exists()) {
        files << config.userFilePath().path();
    }
    Results results(invocation);
    bool failed = false;
    for (const QString& file : files) {
        const std::optional<QByteArray> content = contentOf(invocation, file);
        if (!content.has_value()) {
            continue;
        }
        const QList<VKConfigCheck::t_Finding> findings =
            invocation.isOn(u"defaults"_s) ? VKConfigCheck::checkDefaults(*content)
                                           : VKConfigCheck::checkUserFile(*content, defaults);
        for (const VKConfigCheck::t_Finding& finding : findings) {
            failed = failed || finding.severity == VKConfigCheck::Severity::Error;
            results.add(toJson(file, finding));
            if (!results.isJson()) {
                invocation.output().write(lineOf(file, finding, invocation.output()));
            }
        }
    }
    return failed ? int(kExitFailed) : invocation.exitStatus();
}

int path(Invocation& invocation, VKConfig& config) {
    if (config.userFilePath().path().isEmpty()) {
        return sayNoFolder();
    }
    invocation.output().writeBytes(bytesOnDisk(config.userFilePath()).append('\n'));
    return kExitFine;
}

struct Action {
    QString name;
    qsizetype leastArguments;
    qsizetype mostArguments;
    QStringList options;
    int (*run)(Invocation&, VKConfig&);
};

constexpr qsizetype kAnyNumber = 1'000'000;

const std::vector<Action>& actions() {
    static const std::vector<Action> sActions = {
        {u"list"_s, 0, kAnyNumber, {u"json"_s, u"changed"_s}, &list},
        {u"get"_s, 2, 2, {}, &get},
        {u"set"_s, 3, 3, {u"any"_s}, &set},
        {u"reset"_s, 0, 2, {}, &reset},
        {u"check"_s, 0, kAnyNumber, {u"json"_s, u"defaults"_s}, &check},
        {u"path"_s, 0, 0, {}, &path},
    };
    return sActions;
}

QStringList actionNames() {
    QStringList names;
    for (const Action& action : actions()) {
        names << action.name;
    }
    return names;
}

int run(Invocation& invocation) {
    const QString name = invocation.arguments().constFirst();
    const auto action = std::find_if(actions().begin(), actions().end(),
                                     [&name](const Action& candidate) { return candidate.name == name; });
    if (action == actions().end()) {
        return invocation.usageError(u"there is no action \"%1\""_s.arg(shown(name)));
    }
    const qsizetype given = invocation.arguments().size() - 1;
    if (given < action->leastArguments || given > action->mostArguments) {
        return invocation.usageError(u"\"%1\" takes another number of arguments"_s.arg(name));
    }
    for (const QString& option : {u"json"_s, u"changed"_s, u"any"_s, u"defaults"_s}) {
        if (invocation.isOn(option) && !action->options.contains(option)) {
            return invocation.usageError(u"--%1 does not go with %2"_s.arg(option, name));
        }
    }
    VKConfig& config = *VKConfig::sharedInstance();
    if (const VKStatus status = start(config); status != kVKStatusSuccess) {
        return sayFailed(u"the defaults cannot be loaded"_s);
    }
    return action->run(invocation, config);
}

const Registration kRegistration({
    .name = u"config"_s,
    .summary = u"show, change and check settings"_s,
    .description = u"Works on the settings of an example product, \"Example\": its defaults are compiled "
                   u"into vkqt, and what is "
                   u"changed is kept in a JSON file in the product's own folder.\n\n"
                   "list [BUNDLE...] shows the settings with their values, defaults and choices; get BUNDLE "
                   "KEY one value; set "
                   "BUNDLE KEY VALUE changes one, by number or by the name of a choice; reset [BUNDLE [KEY]] "
                   "goes back to the "
                   "defaults, without a name everywhere; check [FILE...] tells by line and column what is "
                   "wrong with a file (the "
                   "user's own without one); path tells where that lies.\n\n"
                   "A file that states another version than the defaults, or is malformed, is ignored; it is "
                   "replaced by the "
                   "next change."_s,
    .arguments =
        {{.name = u"ACTION"_s, .count = ArgumentSpec::One, .takes = Takes::Choice, .choices = actionNames()},
         {.name = u"ARGUMENT"_s, .count = ArgumentSpec::Any, .takes = Takes::Path}},
    .options =
        {{.name = u"json"_s,
          .help =
              u"list and check write JSON for scripts: one array with an object for each setting or finding."_s},
         {.name = u"changed"_s, .help = u"list shows only what differs from the defaults."_s},
         {.name = u"any"_s, .help = u"set takes a number that is none of the choices."_s},
         {.name = u"defaults"_s, .help = u"check takes the files as defaults, not as files of users."_s}},
    .examples =
        {
            {u"vkqt config list"_s, u"Every setting."_s},
            {u"vkqt config set core_image_utils core_scaling_passes best"_s, u"Change one."_s},
            {u"vkqt config list --changed"_s, u"What differs from the defaults."_s},
            {u"vkqt config reset core_image_utils"_s, u"A bundle back to its defaults."_s},
            {u"vkqt config check --defaults Defaults.json"_s, u"Check a file that is to be shipped."_s},
        },
    .jsonKeys =
        {
            {u"bundle"_s, u"list: the bundle's key."_s},
            {u"key"_s, u"list: the setting's key in it."_s},
            {u"name"_s, u"list: what people call it."_s},
            {u"value"_s, u"list: true, false or a number."_s},
            {u"default"_s, u"list: the value that the defaults state."_s},
            {u"changed"_s, u"list: whether the two differ."_s},
            {u"choices"_s, u"list: the numbers to choose from, each with name and value."_s},
            {u"file"_s, u"check: the file as it was named."_s},
            {u"line"_s, u"check: from 1; so is column, in characters."_s},
            {u"column"_s, u"check: see line."_s},
            {u"severity"_s, u"check: \"error\" (not read as it is written) or \"warning\"."_s},
            {u"place"_s, u"check: the member, such as \"children[0].items[2].value\"."_s},
            {u"message"_s, u"check: what is wrong."_s},
        },
    .run = &run,
});

} // namespace

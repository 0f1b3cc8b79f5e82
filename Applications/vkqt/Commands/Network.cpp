// vkqt network: whether the internet and hosts can be reached by this machine's routes, and, watched, when that changes.
#include "CommandLine.h"
#include "EndBySignal.h"
#include "Results.h"
#include "Table.h"
#include "Text.h"

#include <Reachability.h>
#include <VKCoreKit/VKNetwork.h>
#include <VKQtNetwork.h>

#include <QCoreApplication>
#include <QDateTime>
#include <QJsonObject>

#include <memory>
#include <optional>
#include <vector>

namespace {

using namespace Qt::StringLiterals;
using namespace VKTool;

constexpr int kStateCells = 12;

/// What one place's flags say.
struct Place {
    QString host; ///< empty for the internet
    bool isReachable = false;
    QString kind;
    QString flags;
};

Place placeOf(const QString& host, VKNetworkFlags flags) {
    Place place;
    place.host = host;
    place.isReachable = Reachability::isReachableWithFlags(flags);
    place.kind = place.isReachable ? u"network"_s : u"none"_s;
    if (place.isReachable && (flags & kVKNetworkFlagsIsLocalAddress) != 0) {
        place.kind = u"this machine"_s;
    } else if (place.isReachable && (flags & kVKNetworkFlagsTransientConnection) != 0) {
        place.kind = u"tunnel"_s;
    }
    place.flags = Reachability::textOfFlags(flags);
    return place;
}

/// The best of the host's addresses. 0, or why there is none.
VKStatus askHost(const QString& host, VKNetworkFlags& best) {
    std::vector<VKNetworkAddress> addresses;
    if (const VKStatus status = VKNetworkResolve(host, &addresses); status != 0) {
        return status;
    }
    best = 0;
    for (const VKNetworkAddress& address : addresses) {
        VKNetworkFlags flags = 0;
        if (const VKStatus status = VKNetworkGetFlags(address, &flags); status != 0) {
            return status;
        }
        const bool isBetter =
            Reachability::isReachableWithFlags(flags) && !Reachability::isReachableWithFlags(best);
        best = isBetter || best == 0 ? flags : best;
    }
    return 0;
}

QJsonObject toJson(const Place& place) {
    return {
        {u"host"_s, place.host.isEmpty() ? QJsonValue() : QJsonValue(place.host)},
        {u"reachable"_s, place.isReachable},
        {u"kind"_s, place.kind},
        {u"flags"_s, place.flags},
    };
}

void writeTable(const std::vector<Place>& places, Output& output) {
    Table table;
    for (const QString& title : {u"Place"_s, u"Reachable"_s, u"By"_s, u"Flags"_s}) {
        table.addColumn(title, Table::Left);
    }
    for (const Place& place : places) {
        table.addRow({{.text = place.host.isEmpty() ? u"the internet"_s : shown(place.host)},
                      {.text = place.isReachable ? u"yes"_s : u"no"_s,
                       .style = place.isReachable ? Style::Good : Style::Bad},
                      {.text = place.kind},
                      {.text = place.flags, .style = Style::Quiet}});
    }
    if (!table.isEmpty()) {
        table.write(output);
    }
}

int status(Invocation& invocation) {
    QStringList hosts = invocation.arguments().sliced(1);
    if (hosts.isEmpty()) {
        hosts.append(QString());
    }
    std::vector<Place> places;
    {
        Results results(invocation);
        for (const QString& host : hosts) {
            VKNetworkFlags flags = 0;
            const VKStatus failed =
                host.isEmpty() ? VKNetworkGetFlags(VKNetworkAddress(), &flags) : askHost(host, flags);
            if (failed != 0) {
                invocation.fail(host.isEmpty() ? u"the internet"_s : host, failed);
                continue;
            }
            places.push_back(placeOf(host, flags));
            results.add(toJson(places.back()));
        }
    }
    if (!invocation.isOn(u"json"_s)) {
        writeTable(places, invocation.output());
    }
    return invocation.exitStatus();
}

/// Tells the state, and each change of it, until a signal asks it to end or nobody reads any more.
class Watcher {
public:
    explicit Watcher(Invocation& invocation)
        : mOutput(invocation.output()), mJson(invocation.isOn(u"json"_s)) {
        mConnection = QObject::connect(VKQtNetwork::sharedInstance(), &VKQtNetwork::reachabilityChanged,
                                       [this](bool reachable) { tell(reachable); });
    }
    Watcher(const Watcher&) = delete;
    Watcher& operator=(const Watcher&) = delete;
    ~Watcher() { QObject::disconnect(mConnection); }

    void run() {
        if (mJson) {
            mOutput.writeBytes(jsonArrayStart());
        }
        VKQtNetwork::sharedInstance()->startListening();
        if (mOutput.isOpen()) {
            QCoreApplication::exec();
        }
        VKQtNetwork::sharedInstance()->stopListening();
        if (mJson) {
            mOutput.writeBytes(jsonArrayEnd(!mLast.has_value()));
        }
    }

private:
    void tell(bool reachable) {
        // One change may be signalled more than once.
        if (mLast == reachable) {
            return;
        }
        const QDateTime now = QDateTime::currentDateTimeUtc();
        if (mJson) {
            const QJsonObject object = {{u"time"_s, isoUtc(now)}, {u"reachable"_s, reachable}};
            mOutput.writeBytes(jsonArrayItem(object, !mLast.has_value()));
        } else {
            const QString word =
                mOutput.styled(reachable ? Style::Good : Style::Bad,
                               padded(reachable ? u"reachable"_s : u"unreachable"_s, kStateCells));
            mOutput.write(word + isoUtc(now).toString() + u'\n');
        }
        mLast = reachable;
        mOutput.flush();
        if (!mOutput.isOpen()) {
            QCoreApplication::quit();
        }
    }

    Output& mOutput;
    bool mJson;
    std::optional<bool> mLast;
    QMetaObject::Connection mConnection;
};

int watch(Invocation& invocation) {
    if (invocation.arguments().size() > 1) {
        return invocation.usageError(u"watch takes no HOST: it tells of the internet"_s);
    }
    const EndBySignal end;
    if (end.error() != 0) {
        invocation.fail(u"signals"_s, static_cast<VKStatus>(end.error()));
        return invocation.exitStatus();
    }
    Watcher(invocation).run();
    return invocation.exitStatus();
}

int run(Invocation& invocation) {
    return invocation.arguments().first() == u"watch"_s ? watch(invocation) : status(invocation);
}

const Registration kRegistration({
    .name = u"network"_s,
    .summary = u"tell whether the network leads somewhere, and when that changes"_s,
    .description =
        u"status shows whether the internet, or each HOST, can be reached by the routes, addresses and "
        u"interfaces of this machine. Nothing is sent to a HOST, so \"yes\" does not mean that it answers; "
        u"its name may be asked of a name server.\n\n"
        "watch tells the state of the internet connection, and each change with its time, as the "
        "system tells of it, until Ctrl-C."_s,
    .arguments = {{.name = u"ACTION"_s,
                   .count = ArgumentSpec::One,
                   .takes = Takes::Choice,
                   .choices = {u"status"_s, u"watch"_s}},
                  {.name = u"HOST"_s, .count = ArgumentSpec::Any, .takes = Takes::Text}},
    .options = {{.name = u"json"_s, .help = u"Write one JSON array, an object for each place or change."_s}},
    .examples =
        {
            {u"vkqt network status"_s, u"Is there a way to the internet?"_s},
            {u"vkqt network status photos.example nas.local"_s, u"And to these hosts?"_s},
            {u"vkqt network watch"_s, u"Pull out the cable, and see it."_s},
            {u"vkqt network status --json | jq '.[0].reachable'"_s, u"For a script."_s},
        },
    .jsonKeys =
        {
            {u"host"_s, u"status: the host as it was named, null for the internet"_s},
            {u"reachable"_s, u"whether packets can leave for it"_s},
            {u"kind"_s, u"status: \"network\", \"tunnel\", \"this machine\" or \"none\""_s},
            {u"flags"_s, u"status: a letter for each flag, \"XR -------\": R reachable, c waiting for a "
                         u"connection, t tunnel, l this machine's own, d without a gateway"_s},
            {u"time"_s, u"watch: when it was told, in UTC"_s},
        },
    .run = &run,
});

} // namespace

// The model: loops over characters and early returns, no cleverness.

#include "PathModel.h"

QString PathModel::normalized(const QString& text, bool folder) {
    QString result;
    for (const QChar unit : text) {
        result.append(unit == u'\\' ? QChar(u'/') : unit);
    }
    if (result.size() >= 3 && result.back() == u'/') {
        result.chop(1);
    }
    if (folder && result.size() == 2 && result.back() == u':') {
        result.append(u'/');
    }
    return result.normalized(QString::NormalizationForm_C);
}

QString PathModel::filename(const QString& path, bool folder) {
    bool slashSeen = false;
    QString name;
    for (const QChar unit : path) {
        if (unit == u'/') {
            slashSeen = true;
            name.clear();
        } else {
            name.append(unit);
        }
    }
    return folder && !slashSeen ? QString() : name;
}

QString PathModel::baseName(const QString& path) {
    QString name = filename(path, false);
    for (qsizetype at = name.size(); at > 0; --at) {
        if (name.at(at - 1) == u'.') {
            return name.first(at - 1);
        }
    }
    return name;
}

QString PathModel::suffix(const QString& path) {
    for (qsizetype at = path.size(); at > 0; --at) {
        if (path.at(at - 1) == u'.') {
            return path.sliced(at).toLower();
        }
    }
    return {};
}

QStringList PathModel::split(const QString& path) {
    QStringList parts;
    if (!path.isEmpty() && path.front() == u'/') {
        parts.append(QStringLiteral("/"));
    }
    QString part;
    for (const QChar unit : path) {
        if (unit != u'/') {
            part.append(unit);
        } else if (!part.isEmpty()) {
            parts.append(part);
            part.clear();
        }
    }
    if (!part.isEmpty()) {
        parts.append(part);
    }
    if (!parts.isEmpty() && parts.front().back() == u':') {
        parts.front().append(u'/');
    }
    return parts;
}

QString PathModel::appended(const QString& path, const QString& part, bool folder, bool macRules) {
    const bool endsWithSlash = !path.isEmpty() && path.back() == u'/';
    bool slash = false;
    if (macRules) {
        slash = !endsWithSlash && (part.isEmpty() || part.front() != u'/');
    } else {
        slash = !path.isEmpty() && !endsWithSlash;
    }
    QString joined = path;
    if (slash) {
        joined.append(u'/');
    }
    joined.append(part);
    return normalized(joined, folder);
}

QString PathModel::container(const QString& path, bool folder) {
    if (path.size() == 3 && path.at(1) == u':' && path.at(2) == u'/') {
        return {};
    }
    QString candidate = path;
    const qsizetype slash = path.lastIndexOf(u'/');
    if (slash == 0 && path.size() >= 2) {
        candidate = QStringLiteral("/");
    } else if (slash >= 0) {
        candidate = path.first(slash);
    }
    if (candidate == u"/Volumes") {
        return candidate;
    }
    // Two passes, and so up to two further slashes at the end go.
    const QString result = normalized(normalized(candidate, folder), true);
    return result.isNull() ? QStringLiteral("") : result;
}

QStringList PathModel::parents(const QString& path, bool folder, bool macRules) {
    QStringList result;
    QString sum;
    for (const QString& part : split(folder ? path : container(path, folder))) {
        sum = appended(sum, part, true, macRules);
        result.append(sum);
    }
    return result;
}

QString PathModel::withoutLast(const QString& path, bool macRules) {
    const QStringList parts = split(path);
    if (parts.size() < 2) {
        return path;
    }
    QString result = path.startsWith(u"//") ? QStringLiteral("//") : QString();
    for (qsizetype i = 0; i + 1 < parts.size(); ++i) {
        result = appended(result, parts.at(i), true, macRules);
    }
    return result;
}

bool PathModel::isInside(const QString& path, bool folder, const QString& prefix, bool prefixIsFolder) {
    if (path.isEmpty() || prefix.isEmpty()) {
        return false;
    }
    QString whole = path;
    if (folder && whole.back() != u'/') {
        whole.append(u'/');
    }
    QString start = prefix;
    if (prefixIsFolder && start.back() != u'/') {
        start.append(u'/');
    }
    return whole.startsWith(start, Qt::CaseSensitive);
}

// What is wrong with a configuration's file, told by line and column to whoever edits one.
#pragma once

#include "VKQtExport.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <cstdint>

/// Static functions. Text only: nothing is read from the disk and nothing is logged. Any thread.
///
/// Loading is lenient, because a start-up must not fail over a file; checking is not. A text without findings is
/// one that Documentation/VKConfig.schema.json describes, and loads as it is written.
class VKQT_EXPORT VKConfigCheck {
public:
    enum class Severity : std::uint8_t {
        Warning, ///< is read, but probably not meant so
        Error,   ///< is not read, or not as it is written
    };

    struct t_Finding {
        Severity severity = Severity::Error;
        int line = 1;    ///< from 1
        int column = 1;  ///< from 1, in characters, not bytes
        QString place;   ///< "children[0].items[2].value"; empty for the document
        QString message; ///< a sentence without a full stop

        friend bool operator==(const t_Finding&, const t_Finding&) = default;
    };

    /// More findings than this are not told.
    static constexpr int kMaxFindings = 1000;

    /// The findings in a defaults file, by their places in it. A text that is no JSON has one: where it breaks.
    [[nodiscard]] static QList<t_Finding> checkDefaults(const QByteArray& bytes);

    /// The same of a user's file, and what of it the defaults have no use for: another version, unknown bundles
    /// and items, items of another kind, numbers that are no choice. Defaults that are no JSON are passed over.
    [[nodiscard]] static QList<t_Finding> checkUserFile(const QByteArray& bytes, const QByteArray& defaults);
};

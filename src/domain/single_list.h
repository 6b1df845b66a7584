#pragma once

#include <QString>
#include <QStringList>
#include <optional>

#include "core/dictionary.h"
#include "domain/list_common.h"

namespace tlm {

class Recordset;

// The general list of distinct texts: custom lists, a project's activities, local lists.
// Key and item are the same text; the first spelling of a text stays.
class cSingleList {
  public:
    QString Name;
    Dictionary<QString> Items{CompareMode::Text};

    // Zero-based position of the item equal to the text (case included); Count when absent.
    qint16 getItemIndex(const QString& text) const;
    // Zero-based; the trimmed item, empty past the end.
    QString GetItem(qint16 index) const;
    // Joined with the separator and trimmed; with sort (and more than one item) the list is sorted first.
    QString ToString(const QString& separator, bool sort);
    // A new list from the text split at the separator: non-empty parts, first spelling, sorted.
    void FromString(const QString& text, const QString& separator);
    std::optional<QString> RandomItem() const;
    // The second column of each row, sorted.
    void FromRecordset(Recordset* rs);
    // Non-empty elements in the given order, untrimmed.
    void FromArray(const QVariantList& values);
    // One column; nullopt (after a report) on an empty list.
    std::optional<Matrix> ToArray() const;
    // Brings a custom list table to this list: adds, then deletes by the item text.
    void ToRS(Recordset& rs);
    QString ToStringTab() const;
    // The entries a combo gets, with an empty one at the end when asked.
    QStringList PopulateComboList(bool addBlank) const;
};

}  // namespace tlm

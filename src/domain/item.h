#pragma once

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>

namespace tlm {

// Type codes of user-defined field reads.
namespace FieldType {
inline constexpr int kInteger = 2;  // 16-bit integer
inline constexpr int kCurrency = 6;
inline constexpr int kDate = 7;
inline constexpr int kText = 8;
inline constexpr int kBoolean = 11;
}  // namespace FieldType

// The item type a folder holds by default; a folder is known by its path.
enum class FolderItemType {
    Mail = 0,
    Appointment = 1,
    Contact = 2,
    Task = 3,
    Journal = 4,
    Note = 5,
    Post = 6
};
struct ItemFolder {
    QString path;  // "/Mailbox/Calendar/Team"
    FolderItemType defaultItemType = FolderItemType::Mail;
    QString name() const { return path.section(QLatin1Char('/'), -1); }
};

struct UserProperty {
    QString name;
    int type = FieldType::kText;
    QVariant value;  // a null value is a property that exists without a value
};

// One task, appointment, mail or contact as the reporting side hands it over: standard
// properties by name and user properties ("ProjectValue", "Field1Value", ...). Names match
// without regard to case, as property access by name does.
class TlmItem {
  public:
    QString MessageClass;  // "IPM.Task", "IPM.Appointment", ...
    QString folderPath;

    static const QStringList& StandardPropertyNames();
    static bool IsStandardProperty(const QString& name);

    // False, and nothing stored, for a name that no item type has.
    bool setProperty(const QString& name, const QVariant& value);
    QVariant property(const QString& name) const;  // invalid when not set
    bool hasProperty(const QString& name) const;
    // ActualWork, TotalWork, Duration: whole minutes; 0 when unset or not a number.
    qint32 minutes(const QString& name) const;

    void setUserProperty(const QString& name, const QVariant& value, int type = FieldType::kText);
    const UserProperty* findUserProperty(const QString& name) const;
    bool removeUserProperty(const QString& name);
    const QList<UserProperty>& userProperties() const { return user_; }

  private:
    QHash<QString, QVariant> props_;  // by lower-case name
    QList<UserProperty> user_;
};

// The kinds of item that protected fields can be read from.
enum class SafeItemKind { None, Mail, Post, Appointment, Meeting, Task, Journal, Contact };
SafeItemKind SafeItemKindFromMessageClass(const QString& messageClass);

struct SafeItem {
    SafeItemKind kind = SafeItemKind::None;
    const TlmItem* item = nullptr;
    explicit operator bool() const { return kind != SafeItemKind::None && item; }
};

// The protected-field view of an item; empty for a message class it does not know.
SafeItem GetSafeObject(const TlmItem& item);
// Reads a protected field known to the item's kind into vValue. An unknown field gives an empty
// text and false; "Recipients" is always an empty text.
bool GetSafeFieldValue(const SafeItem& safe, const QString& sName, QVariant& vValue);
// A user property by name. A stored value is returned as it is (null: "" for text, 0 for
// numbers, null for a date; a UTC date comes back in local time). A property that is missing
// or cannot be named falls back on GetUserDefinedFieldValue with an empty default.
QVariant GetFieldValueFromItem(const TlmItem& item, const QString& sName, int iType = FieldType::kText);
// A user property converted by type code, with the default rules of each code.
QVariant GetUserDefinedFieldValue(const TlmItem& item, const QString& name, int type,
                                  const QVariant& defaultValue);

}  // namespace tlm

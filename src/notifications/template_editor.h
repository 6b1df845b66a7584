#pragma once

#include <QString>
#include <QStringList>

#include "notifications/templates.h"

namespace tlm {

// The tags a template's group offers on the editor (groups 1 to 9): the tags joined by ";" and
// their descriptions joined by CR LF, in the same order. Empty for an unknown group.
QString TagGroupTags(int group);
QString TagGroupDescriptions(int group);

// What the template editor works on: its own copy of the store, changed template by template and
// handed to the global settings only on saving.
class TemplateEditor {
  public:
    static constexpr int kPrintIndex = 15;

    // Reads the table into the editor's own store and fills the gaps with the defaults.
    bool Load();
    // The same from a store already read (a test, or a caller without a database).
    void LoadFrom(const cMessageTemplates& templates);

    const cMessageTemplates& templates() const { return templates_; }
    static bool IsValidIndex(int index) { return index >= 0 && index <= kPrintIndex; }
    // The print template has no subject.
    static bool HasSubject(int index) { return IsValidIndex(index) && index != kPrintIndex; }
    QString Body(int index) const;
    QString Subject(int index) const;
    // The tag group of the template at an index, 0 when none.
    static int TagGroupOf(int index);

    // Keeps the edits of one template; the index is the text the form carries. Anything that is
    // not a number from 0 to 15 keeps nothing.
    void SaveTemplate(const QString& sIndex, const QString& subject, const QString& html);
    // Replaces the process's templates with the editor's and writes them. False without a store.
    bool SaveGlobalSettings();

  private:
    cMessageTemplates templates_;
};

}  // namespace tlm

#pragma once

#include <QList>
#include <QString>

namespace tlm {

enum class PromptIcon { None, Information, Exclamation, Critical, Question };
enum class PromptButtons { Ok, OkCancel, YesNo, YesNoCancel };
enum class PromptAnswer { Ok, Cancel, Yes, No };

// Every message box goes through here, so the logic never names a widget and tests can answer
// in advance. The GUI installs a prompter that shows real boxes.
class Prompter {
  public:
    virtual ~Prompter() = default;
    virtual PromptAnswer show(PromptIcon icon, PromptButtons buttons, const QString& title,
                              const QString& text) = 0;
};

// Answers from a queue; with the queue empty it answers Ok/No/Cancel and never blocks.
// Records what was shown. The default prompter of a process without a GUI.
class ScriptedPrompter : public Prompter {
  public:
    struct Shown {
        PromptIcon icon;
        PromptButtons buttons;
        QString title;
        QString text;
    };
    PromptAnswer show(PromptIcon icon, PromptButtons buttons, const QString& title,
                      const QString& text) override;
    void queue(PromptAnswer answer) { answers_.append(answer); }
    const QList<Shown>& shown() const { return shown_; }
    void clear() {
        shown_.clear();
        answers_.clear();
    }

  private:
    QList<PromptAnswer> answers_;
    QList<Shown> shown_;
};

Prompter& prompter();
void SetPrompter(Prompter* p);  // nullptr restores the built-in ScriptedPrompter

inline const QString kMessageTitle = QStringLiteral("Tally Loom Manager Process");

// The program's message box: title kMessageTitle unless given.
PromptAnswer MsgBox(const QString& text, PromptIcon icon = PromptIcon::None,
                    PromptButtons buttons = PromptButtons::Ok, const QString& title = QString());

}  // namespace tlm

#include "core/prompt.h"

#include "core/secrets.h"

namespace tlm {

PromptAnswer ScriptedPrompter::show(PromptIcon icon, PromptButtons buttons, const QString& title,
                                    const QString& text) {
    shown_.append(Shown{icon, buttons, title, text});
    if (!answers_.isEmpty())
        return answers_.takeFirst();
    switch (buttons) {
        case PromptButtons::Ok:
            return PromptAnswer::Ok;
        case PromptButtons::OkCancel:
        case PromptButtons::YesNoCancel:
            return PromptAnswer::Cancel;
        case PromptButtons::YesNo:
            return PromptAnswer::No;
    }
    return PromptAnswer::Cancel;
}

namespace {
ScriptedPrompter g_defaultPrompter;
Prompter* g_prompter = nullptr;
}  // namespace

Prompter& prompter() {
    return g_prompter ? *g_prompter : g_defaultPrompter;
}

void SetPrompter(Prompter* p) {
    g_prompter = p;
}

PromptAnswer MsgBox(const QString& text, PromptIcon icon, PromptButtons buttons, const QString& title) {
    return prompter().show(icon, buttons, title.isEmpty() ? kMessageTitle : title, MaskSecrets(text));
}

}  // namespace tlm

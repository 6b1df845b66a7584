#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include "core/prompt.h"

class QWidget;

namespace tlm {

// Answers for dialogs given in advance, so widget tests never block: when a queue holds an answer,
// the dialog is not shown and the answer is taken. Every shown message is recorded.
class DialogScript {
  public:
    static void queueAnswer(PromptAnswer answer);
    static void queueFileName(const QString& path);  // empty text = the user cancelled
    static void queueFolder(const QString& path);    // empty text = the user cancelled
    static bool takeAnswer(PromptAnswer* answer);
    static bool takeFileName(QString* path);
    static bool takeFolder(QString* path);
    static QStringList& shownMessages();
    static void clear();
};

// The prompter of the GUI: a real message box unless the script has an answer.
class DesktopPrompter : public Prompter {
  public:
    PromptAnswer show(PromptIcon icon, PromptButtons buttons, const QString& title,
                      const QString& text) override;
};

// "Name (*.a)|*.a|All (*.*)|*.*" to Qt's "Name (*.a);;All (*.*)".
QString ConvertFileFilter(const QString& filter);

QString SaveFileToDisk(const QString& filter, QWidget* owner = nullptr, const QString& title = QString());
QString OpenFileFromDisk(const QString& filter, QWidget* owner = nullptr, const QString& title = QString());
// Several files at once; a scripted answer holds them separated by line breaks.
QStringList OpenFilesFromDisk(const QString& filter, QWidget* owner = nullptr,
                              const QString& title = QString());
QString fncBrowseForFolder(QWidget* owner, const QString& title);

}  // namespace tlm

#include "desktop/dialogs.h"

#include <QApplication>
#include <QFileDialog>
#include <QMessageBox>

#include "core/error_report.h"

namespace tlm {

namespace {
QList<PromptAnswer> g_answers;
QStringList g_fileNames;
QStringList g_folders;
QStringList g_shown;
}  // namespace

void DialogScript::queueAnswer(PromptAnswer answer) {
    g_answers.append(answer);
}
void DialogScript::queueFileName(const QString& path) {
    g_fileNames.append(path);
}
void DialogScript::queueFolder(const QString& path) {
    g_folders.append(path);
}
bool DialogScript::takeAnswer(PromptAnswer* answer) {
    if (g_answers.isEmpty())
        return false;
    *answer = g_answers.takeFirst();
    return true;
}
bool DialogScript::takeFileName(QString* path) {
    if (g_fileNames.isEmpty())
        return false;
    *path = g_fileNames.takeFirst();
    return true;
}
bool DialogScript::takeFolder(QString* path) {
    if (g_folders.isEmpty())
        return false;
    *path = g_folders.takeFirst();
    return true;
}
QStringList& DialogScript::shownMessages() {
    return g_shown;
}
void DialogScript::clear() {
    g_answers.clear();
    g_fileNames.clear();
    g_folders.clear();
    g_shown.clear();
}

PromptAnswer DesktopPrompter::show(PromptIcon icon, PromptButtons buttons, const QString& title,
                                   const QString& text) {
    g_shown.append(text);
    PromptAnswer scripted;
    if (DialogScript::takeAnswer(&scripted))
        return scripted;

    QMessageBox box(QApplication::activeWindow());
    box.setWindowTitle(title);
    box.setText(text);
    switch (icon) {
        case PromptIcon::None:
            box.setIcon(QMessageBox::NoIcon);
            break;
        case PromptIcon::Information:
            box.setIcon(QMessageBox::Information);
            break;
        case PromptIcon::Exclamation:
            box.setIcon(QMessageBox::Warning);
            break;
        case PromptIcon::Critical:
            box.setIcon(QMessageBox::Critical);
            break;
        case PromptIcon::Question:
            box.setIcon(QMessageBox::Question);
            break;
    }
    switch (buttons) {
        case PromptButtons::Ok:
            box.setStandardButtons(QMessageBox::Ok);
            break;
        case PromptButtons::OkCancel:
            box.setStandardButtons(QMessageBox::Ok | QMessageBox::Cancel);
            break;
        case PromptButtons::YesNo:
            box.setStandardButtons(QMessageBox::Yes | QMessageBox::No);
            break;
        case PromptButtons::YesNoCancel:
            box.setStandardButtons(QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel);
            break;
    }
    box.setWindowFlag(Qt::WindowStaysOnTopHint, true);
    switch (box.exec()) {
        case QMessageBox::Ok:
            return PromptAnswer::Ok;
        case QMessageBox::Yes:
            return PromptAnswer::Yes;
        case QMessageBox::No:
            return PromptAnswer::No;
        default:
            return PromptAnswer::Cancel;
    }
}

QString ConvertFileFilter(const QString& filter) {
    const QStringList parts = filter.split(QLatin1Char('|'));
    QStringList out;
    for (int i = 0; i + 1 < parts.size(); i += 2) {
        QString name = parts[i].trimmed();
        const QString pattern = QString(parts[i + 1]).replace(QLatin1Char(';'), QLatin1Char(' ')).trimmed();
        if (!name.contains(QLatin1Char('(')))
            name += QStringLiteral(" (") + pattern + QLatin1Char(')');
        else
            name = name.left(name.indexOf(QLatin1Char('('))).trimmed() + QStringLiteral(" (") + pattern +
                   QLatin1Char(')');
        out << name;
    }
    return out.join(QStringLiteral(";;"));
}

QString SaveFileToDisk(const QString& filter, QWidget* owner, const QString& title) {
    subTraceAction(QStringLiteral("saving a file from dialog"));
    QString path;
    if (DialogScript::takeFileName(&path))
        return path;
    return QFileDialog::getSaveFileName(owner, title, QString(), ConvertFileFilter(filter));
}

QString OpenFileFromDisk(const QString& filter, QWidget* owner, const QString& title) {
    subTraceAction(QStringLiteral("Opening a file from dialog"));
    QString path;
    if (DialogScript::takeFileName(&path))
        return path;
    return QFileDialog::getOpenFileName(owner, title, QString(), ConvertFileFilter(filter));
}

QStringList OpenFilesFromDisk(const QString& filter, QWidget* owner, const QString& title) {
    subTraceAction(QStringLiteral("Opening files from dialog"));
    QString paths;
    if (DialogScript::takeFileName(&paths))
        return paths.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    return QFileDialog::getOpenFileNames(owner, title, QString(), ConvertFileFilter(filter));
}

QString fncBrowseForFolder(QWidget* owner, const QString& title) {
    QString path;
    if (DialogScript::takeFolder(&path))
        return path;
    return QFileDialog::getExistingDirectory(owner, title, QString(), QFileDialog::ShowDirsOnly);
}

}  // namespace tlm

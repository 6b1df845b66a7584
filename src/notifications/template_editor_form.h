#pragma once

#include <QDialog>
#include <QTableWidget>
#include <functional>

#include "notifications/template_editor.h"

class QAction;
class QComboBox;
class QGroupBox;
class QLineEdit;
class QMimeData;
class QPlainTextEdit;
class QTextBrowser;
class QTimer;
class QToolBar;

namespace tlm {

// The tags grid: dragging a cell hands its text over as plain text, for the subject or the body.
class TagGrid : public QTableWidget {
    Q_OBJECT
  public:
    explicit TagGrid(QWidget* parent = nullptr);
    // Fills one row per tag: the tags split at ";", the descriptions at CR LF.
    void PopulateList(const QString& sTags, const QString& sDescriptions);
    // What dragging the cell hands over; nullptr for an empty cell. The caller owns it.
    QMimeData* dragData(int row, int col) const;

  protected:
    QMimeData* mimeData(const QList<QTableWidgetItem*>& items) const override;
};

// Edits the body and subject of each notification and the print template. Works on its own copy
// of the templates until Save; Exit drops every edit.
class frmTemplates : public QDialog {
    Q_OBJECT
  public:
    explicit frmTemplates(QWidget* parent = nullptr);
    ~frmTemplates() override;

    // Reads the table (or the store given, for a caller without a database) and shows index 0.
    void subGetSettings();
    void subGetSettings(const cMessageTemplates& templates);
    // What a change of cmbTemplate does: keeps the shown template's edits, then shows the new one.
    void ShowTemplate(int index);
    void subSaveTemplate(const QString& sIndex);
    // The toolbar.
    bool Save();
    void Exit();
    void OpenMailAccount();
    void refreshPreview();

    const TemplateEditor& editor() const { return editor_; }
    QString shownIndex() const { return txtBodyTag_; }
    QComboBox* templateBox() const { return cmbTemplate_; }
    QLineEdit* subjectField() const { return txtSubject_; }
    QPlainTextEdit* htmlEditor() const { return uHTMLEditor_; }
    QTextBrowser* preview() const { return txtPreview_; }
    TagGrid* tagsGrid() const { return fpsTags_; }
    QAction* toolbarButton(const QString& key) const;  // "Save", "Exit", "MailAccount"

  private:
    void subSetCaptions();

    TemplateEditor editor_;
    QString txtBodyTag_;  // the index of the template shown, as text
    bool loading_ = false;
    QToolBar* tb_ = nullptr;
    QAction* save_ = nullptr;
    QAction* exit_ = nullptr;
    QAction* account_ = nullptr;
    QGroupBox* frameTemplates_ = nullptr;
    QGroupBox* frameTags_ = nullptr;
    QComboBox* cmbTemplate_ = nullptr;
    QLineEdit* txtSubject_ = nullptr;
    QPlainTextEdit* uHTMLEditor_ = nullptr;
    QTextBrowser* txtPreview_ = nullptr;
    QTimer* previewTimer_ = nullptr;
    TagGrid* fpsTags_ = nullptr;
};

// Section 4: shows the editor modal and returns when it closes.
void OpenTemplates(qint32 section);
// Tests drive the shown form through this instead of a blocking exec(); the form is closed after.
void SetTemplatesDriver(std::function<void(frmTemplates&)> driver);

}  // namespace tlm

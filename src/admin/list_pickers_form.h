#pragma once

#include <QDialog>
#include <QPoint>
#include <QString>
#include <QVector>
#include <functional>

class QCheckBox;
class QLabel;
class QListWidget;
class QPushButton;

namespace tlm {

// The project colour picker: "None" and the 25 category colours. A click chooses and hides; any
// other way out leaves the chosen index at -1, which the caller reads as a cancel.
class fCategoriesColors : public QDialog {
    Q_OBJECT
  public:
    static constexpr int kButtons = 26;

    explicit fCategoriesColors(QWidget* parent = nullptr);

    void setCurrentIndex(qint16 index) { currentIndex_ = index; }
    qint16 currentIndex() const { return currentIndex_; }
    // Paints the colour buttons and clears the choice (the caller's index is not shown).
    void LoadColors();
    void cmdColorClick(int index);
    QPushButton* cmdColor(int index) const { return buttons_.value(index); }

    qint32 chosenColor = 0;
    qint16 chosenIndex = -1;

  private:
    QVector<QPushButton*> buttons_;
    qint16 currentIndex_ = 0;
};

struct ColorChoice {
    qint16 index = -1;  // -1: cancelled
    qint32 color = 0;
};
// Opens the picker modal near `at` (kept fully on the screen) and answers the choice.
ColorChoice PickCategoryColor(QWidget* owner, qint16 currentIndex, QPoint at);

// The recipients picker: every member selected at first; OK gives their addresses.
class fSelectMembers : public QDialog {
    Q_OBJECT
  public:
    explicit fSelectMembers(QWidget* parent = nullptr);

    void Load();
    QString GetSelectedMemberEmails() const;
    void cmdOKClick();
    void cmdCancelClick();

    QLabel* lblSelectMembers = nullptr;
    QListWidget* lstMembers = nullptr;
    QCheckBox* chkAll = nullptr;
    QPushButton* cmdOK = nullptr;
    QPushButton* cmdCancel = nullptr;
    QString result;

  private:
    void chkAllClick(bool checked);
};
// Opens the picker modal and answers its result text (empty when cancelled or closed).
QString PickRecipients(QWidget* owner);

// Widget tests drive the pickers instead of a blocking modal loop: the driver gets the shown
// picker; one it leaves open is closed as by the close box. An empty driver restores exec().
void SetColorPickerDriver(std::function<void(fCategoriesColors&)> driver);
void SetSelectMembersDriver(std::function<void(fSelectMembers&)> driver);

}  // namespace tlm

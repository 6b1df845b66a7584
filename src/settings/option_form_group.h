#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QWidget>

class QButtonGroup;
class QRadioButton;

namespace tlm {

// A row of option buttons whose checked index is the stored value.
class OptionGroup : public QWidget {
    Q_OBJECT
  public:
    OptionGroup(const QString& name, const QString& caption, const QStringList& options, QWidget* parent);
    int index() const;
    void setIndex(int index);
    QRadioButton* option(int index) const;
  signals:
    void changed(int index);

  private:
    QButtonGroup* group_ = nullptr;
    QList<QRadioButton*> options_;
};

}  // namespace tlm

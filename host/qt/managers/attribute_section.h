// A group of attributes with a heading that folds it. Main thread.
#pragma once

#include <QWidget>

class QGridLayout;
class QToolButton;

namespace host {

class AttributeField;

class AttributeSection : public QWidget {
  Q_OBJECT
 public:
  AttributeSection(const QString& title, QWidget* parent);

  /// Adds a field with its label; `label` stands for the attribute's own.
  void add(AttributeField* field, const QString& label = {});
  /// Adds a widget over the full width.
  void add(QWidget* widget);
  QString title() const;
  void fold(bool on);

 private:
  QToolButton* head_;
  QWidget* body_;
  QGridLayout* grid_;
};

} // namespace host

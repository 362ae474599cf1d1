// Fields for attributes, one class a kind. Main thread.
#pragma once

#include <QColor>
#include <QPointer>
#include <QWidget>

#include "attributes.h"

class QAbstractButton;
class QCheckBox;
class QComboBox;
class QLineEdit;

namespace host {

class ColorPicker;
class NumberField;
class SliderField;

/// Shows an attribute and signals the user's changes. The field itself does not change: the document does,
/// and the field then shows the document's value.
class AttributeField : public QWidget {
  Q_OBJECT
 public:
  /// The field for this kind of attribute.
  static AttributeField* make(const Attribute& attribute, QWidget* parent);

  AttributeId id() const { return shape_.id; }
  const Attribute& shape() const { return shape_; }
  /// Whether this field can show that attribute: the same one, of the same kind, range and choices.
  bool fits(const Attribute& attribute) const;
  void show(const Attribute& attribute);
  /// Whether it needs the full width, with its label above.
  virtual bool isWide() const { return false; }
  /// Whether it shows its label itself.
  virtual bool hasLabel() const { return false; }

 signals:
  /// `component` 0 to 2: of a vector; -1: all.
  void changed(const GeData& value, int component);
  /// Emitted around the changes that make one step of undo.
  void dragStarted();
  void dragFinished(bool cancelled);

 protected:
  AttributeField(const Attribute& attribute, QWidget* parent);
  virtual void showValue(const Attribute& attribute) = 0;
  static QString mixedText();

 private:
  Attribute shape_;
};

class TextAttributeField : public AttributeField {
  Q_OBJECT
 public:
  TextAttributeField(const Attribute& attribute, QWidget* parent);
  QLineEdit& edit() { return *edit_; }

 protected:
  void showValue(const Attribute& attribute) override;
  bool eventFilter(QObject* watched, QEvent* event) override;
  virtual QString textOf(const GeData& value) const;
  virtual GeData valueOf(const QString& text) const;
  virtual bool mayBeEmpty() const { return false; }

 private:
  QLineEdit* edit_;
  QString text_;
  bool mixed_ = false;
};

/// A picture's file: typed, or chosen with the button.
class FileAttributeField : public TextAttributeField {
  Q_OBJECT
 public:
  FileAttributeField(const Attribute& attribute, QWidget* parent);
  QAbstractButton& button() { return *button_; }
  bool isWide() const override { return true; }

 protected:
  void showValue(const Attribute& attribute) override;
  QString textOf(const GeData& value) const override;
  GeData valueOf(const QString& text) const override;
  bool mayBeEmpty() const override { return true; }

 private:
  void choose();

  QAbstractButton* button_;
};

class SwitchAttributeField : public AttributeField {
  Q_OBJECT
 public:
  SwitchAttributeField(const Attribute& attribute, QWidget* parent);
  QCheckBox& box() { return *box_; }
  bool hasLabel() const override { return true; }

 protected:
  void showValue(const Attribute& attribute) override;

 private:
  QCheckBox* box_;
};

class ChoiceAttributeField : public AttributeField {
  Q_OBJECT
 public:
  ChoiceAttributeField(const Attribute& attribute, QWidget* parent);
  QComboBox& box() { return *box_; }

 protected:
  void showValue(const Attribute& attribute) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  QComboBox* box_;
};

/// Whole and real numbers; with a slider where the attribute has a usual range.
class NumberAttributeField : public AttributeField {
  Q_OBJECT
 public:
  NumberAttributeField(const Attribute& attribute, QWidget* parent);
  NumberField& number() { return *number_; }
  /// Null without a slider.
  SliderField* slider() { return slider_; }

 protected:
  void showValue(const Attribute& attribute) override;

 private:
  void tell(double value);
  NumberField* number_ = nullptr;
  SliderField* slider_ = nullptr;
};

class VectorAttributeField : public AttributeField {
  Q_OBJECT
 public:
  VectorAttributeField(const Attribute& attribute, QWidget* parent);
  NumberField& part(int component) { return *parts_[component]; }
  bool isWide() const override { return true; }

 protected:
  void showValue(const Attribute& attribute) override;

 private:
  NumberField* parts_[3];
};

/// A swatch that opens the colour picker, which changes the attribute while the user looks around; each drag
/// and each number is one step of undo. Beside it the colour as "#rrggbb", to be typed; and the
/// brightness, where it may be above 1.
class ColorAttributeField : public AttributeField {
  Q_OBJECT
 public:
  ColorAttributeField(const Attribute& attribute, QWidget* parent);
  ~ColorAttributeField() override;
  QAbstractButton& swatch() { return *swatch_; }
  QLineEdit& code() { return *code_; }
  /// Null where a colour has no brightness above 1.
  NumberField* brightness() { return brightness_; }
  const QColor& color() const { return color_; } // as shown, without brightness
  bool isMixed() const { return mixed_; }

 protected:
  void showValue(const Attribute& attribute) override;

 private:
  void choose();
  void takeCode();
  void tell(const QColor& color, double brightness);

  QAbstractButton* swatch_;
  QLineEdit* code_;
  NumberField* brightness_ = nullptr;
  QPointer<ColorPicker> picker_;
  QColor color_;
  Vector value_; // linear
  bool mixed_ = false, dragging_ = false;
};

} // namespace host

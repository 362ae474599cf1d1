// Fields of dialogs that are forms: made in one call each. Main thread.
#pragma once

#include <QString>
#include <initializer_list>
#include <string>

#include "c4d_types.h"

class QFormLayout;
class QLabel;
class QLineEdit;
class QVBoxLayout;
class QWidget;

namespace host {

class NumberField;

/// A field of whole numbers. `label` names it for screen readers.
NumberField* numberField(const char* name, const QString& label, double least, double most,
                         const QString& tip);
LONG numberOf(const NumberField& field);
QLineEdit* textField(const char* name, const QString& label, const QString& example, const QString& tip);
/// Without blanks at its ends.
std::string textOf(const QLineEdit& field);

/// The widgets beside each other; one of them may take the spare width.
QWidget* formRow(std::initializer_list<QWidget*> widgets, int stretched = -1);
/// A form below a title, at the end of the layout.
QFormLayout* addForm(QVBoxLayout& layout, const QString& title);

/// Gives the fields of several forms one left edge.
void alignLabels(std::initializer_list<QFormLayout*> forms);

/// "12 s", "4 min", "2 h 5 min".
QString roughTime(double seconds);

/// The path of `lumenara`: beside this program, where both are installed; else that of PATH.
std::string batchProgram();
/// The folder of the settings; empty without a running program.
std::string settingsFolder();

} // namespace host

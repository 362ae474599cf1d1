#include "attribute_section.h"

#include "attribute_tips.h"

#include "attribute_fields.h"
#include "icons.h"
#include "theme.h"

namespace host {

namespace {

constexpr int labelWidth = 92;

} // namespace

AttributeSection::AttributeSection(const QString& title, QWidget* parent)
    : QWidget(parent), head_(new QToolButton(this)) {
  head_->setText(title);
  head_->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
  head_->setIcon(icon(QStringLiteral("chevron-down")));
  head_->setIconSize({12, 12});
  head_->setCheckable(false);
  head_->setToolTip(tr("Folds and unfolds this group"));
  head_->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
  head_->setFixedHeight(metrics::control);
  setRole(head_, "section");
  body_ = new QWidget(this);
  grid_ = new QGridLayout(body_);
  grid_->setContentsMargins(metrics::groupSpace, 0, 0, 0);
  grid_->setHorizontalSpacing(metrics::groupSpace);
  grid_->setVerticalSpacing(metrics::grid);
  grid_->setColumnMinimumWidth(0, labelWidth);
  grid_->setColumnStretch(1, 1);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(metrics::grid);
  layout->addWidget(head_);
  layout->addWidget(body_);
  connect(head_, &QToolButton::clicked, this, [this] { fold(!body_->isHidden()); });
}

void AttributeSection::add(AttributeField* field, const QString& text) {
  const Attribute& shape = field->shape();
  if (field->hasLabel()) return grid_->addWidget(field, grid_->rowCount(), 1);
  auto* label = new QLabel(text.isEmpty() ? tr(shape.label) : text, body_);
  label->setBuddy(field);
  label->setToolTip(shape.animated ? tr("An animation sets it: a change holds until the time changes.")
                                   : attributeTip(shape));
  setRole(label, shape.animated ? "warning" : "dim");
  const int row = grid_->rowCount();
  if (field->isWide()) {
    grid_->addWidget(label, row, 0, 1, 2);
    grid_->addWidget(field, row + 1, 0, 1, 2);
  } else {
    label->setWordWrap(true);
    grid_->addWidget(label, row, 0);
    grid_->addWidget(field, row, 1);
  }
}

void AttributeSection::add(QWidget* widget) {
  grid_->addWidget(widget, grid_->rowCount(), 0, 1, 2);
}

QString AttributeSection::title() const {
  return head_->text();
}

void AttributeSection::fold(bool on) {
  body_->setHidden(on);
  head_->setIcon(icon(on ? QStringLiteral("chevron-right") : QStringLiteral("chevron-down")));
}

} // namespace host

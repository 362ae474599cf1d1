// A desktop with boxes and popups that a test answers.
#pragma once

#include <QLabel>
#include <QPushButton>

#include "qt_fixture.h"

class DialogUi : public QtFixture {
 public:
  DialogUi() { startDesktop(); }

  static QPushButton& answer(QWidget& box, int index) {
    return *box.findChild<QPushButton*>(QStringLiteral("answer-%1").arg(index));
  }
  static QString sentence(QWidget& box) { return box.findChild<QLabel*>("sentence")->text(); }
  static BaseContainer entries(const std::vector<std::pair<LONG, const char*>>& list) {
    BaseContainer container;
    for (const auto& [id, text] : list)
      container.SetString(id, text);
    return container;
  }
};

#include "start_page.h"

#include "icons.h"
#include "theme.h"

namespace host {

namespace {

QLabel* centered(const QString& text, const char* role) {
  auto* label = new QLabel(text);
  label->setAlignment(Qt::AlignCenter);
  setRole(label, role);
  return label;
}

QPushButton* button(const QString& name, const QString& text, const QString& picture) {
  auto* button = new QPushButton(icon(picture), text);
  button->setObjectName(name);
  return button;
}

} // namespace

StartPage::StartPage(StartPageServices services, QWidget* parent)
    : QWidget(parent), services_(std::move(services)), recent_(new QVBoxLayout) {
  setObjectName(QStringLiteral("start-page"));
  auto* mark = new QLabel;
  mark->setPixmap(iconPixmap(QStringLiteral("lumenara"), 72, {}, devicePixelRatioF()));
  mark->setAlignment(Qt::AlignCenter);

  auto* open = button(QStringLiteral("start-open"), tr("Open..."), QStringLiteral("open"));
  setRole(open, "primary");
  open->setToolTip(tr("Opens a scene from a file"));
  connect(open, &QPushButton::clicked, this, [this] { services_.open(); });
  auto* buttons = new QHBoxLayout;
  buttons->setSpacing(metrics::groupSpace);
  buttons->addStretch();
  buttons->addWidget(open);
  if (services_.openDemo) {
    auto* demo = button(QStringLiteral("start-demo"), tr("Open the Demo Scene"), QStringLiteral("picture"));
    demo->setToolTip(tr("Opens the scene that comes with Studio"));
    connect(demo, &QPushButton::clicked, this, [this] { services_.openDemo(); });
    buttons->addWidget(demo);
  }
  buttons->addStretch();

  auto* layout = new QVBoxLayout(this);
  layout->setSpacing(12);
  layout->addWidget(mark);
  layout->addWidget(centered(tr("Drop a glTF file here, or open one"), "large"));
  layout->addLayout(buttons);
  layout->addWidget(centered(tr("OBJ, FBX, PLY, STL and DAE files are imported."), "dim"));
  recent_->setSpacing(0);
  layout->addLayout(recent_);
  parent->installEventFilter(this);
}

void StartPage::setRecent(const std::vector<Filename>& files) {
  while (QLayoutItem* item = recent_->takeAt(0)) {
    delete item->widget();
    delete item;
  }
  for (std::size_t i = 0; i < files.size() && i < 4; ++i) {
    auto* entry = new QPushButton(QString::fromStdString(files[i].GetFileString().GetUTF8()));
    entry->setToolTip(QString::fromStdString(files[i].GetString().GetUTF8()));
    setRole(entry, "flat");
    // Queued: opening may change the list and delete this button.
    connect(
        entry, &QPushButton::clicked, this, [this, file = files[i]] { services_.openOne(file); },
        Qt::QueuedConnection);
    recent_->addWidget(entry);
  }
  settle();
}

bool StartPage::eventFilter(QObject* watched, QEvent* event) {
  if (watched == parent() && event->type() == QEvent::Resize) settle();
  return QWidget::eventFilter(watched, event);
}

void StartPage::settle() {
  adjustSize();
  if (const QWidget* over = parentWidget())
    move(std::max(0, (over->width() - width()) / 2), std::max(0, (over->height() - height()) / 2));
}

} // namespace host

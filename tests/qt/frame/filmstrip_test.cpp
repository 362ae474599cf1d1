// The filmstrip: rows, search, stars, notes, restoring, drags.
#include "filmstrip.h"

#include <QAction>
#include <QDate>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMimeData>
#include <QToolButton>
#include <QUrl>

#include "c4d_render.h"
#include "film.h"
#include "kept_bitmap.h"
#include "manager_kit.h"
#include "render_notices.h"

using namespace host;

namespace {

class FilmstripTest : public ManagerTest {
 public:
  FilmstripTest() { make(); }
  ~FilmstripTest() override { strip.reset(); }

  std::unique_ptr<Filmstrip> strip;

  void make() {
    strip = std::make_unique<Filmstrip>(*session);
    strip->resize(240, 520);
    strip->show();
    ready();
  }
  void ready() {
    for (int i = 0; i < 3; ++i) {
      session->history().finish();
      session->pluginPictures().finish();
      strip->finish();
      settle();
    }
  }
  static std::shared_ptr<Film> film(float red, const char* scene, const char* camera) {
    auto made = std::make_shared<Film>(32, 18);
    for (int y = 0; y < 18; ++y)
      for (int x = 0; x < 32; ++x) {
        const float rgba[] = {red, static_cast<float>(y) / 18, static_cast<float>(x) / 32, 1};
        made->setColor(x, y, rgba);
      }
    made->setOrigin({{"Scene", scene}, {"Camera", camera}, {"Frame", "0"}, {"Samples", "16"}});
    return made;
  }
  /// A finished render of Studio: those of plug-ins show in the list as "Viewer" too.
  void render(float red, const char* scene = "room.glb", const char* camera = "front",
              double seconds = 4.25) {
    const DocumentPtr clone = copy();
    const BaseContainer settings;
    render::RenderNotice notice;
    notice.id = render::newRenderId();
    notice.document = clone.get();
    notice.settings = &settings;
    notice.byPlugin = false;
    notice.seconds = seconds;
    notice.film = film(red, scene, camera);
    render::tellRenderStarted(notice);
    render::tellRenderEnded(notice);
    settle();
    ready();
  }
  QStringList names() {
    QStringList all;
    for (int row = 0; row < strip->model().rowCount(); ++row)
      all << strip->model().data(strip->model().index(row), Qt::EditRole).toString();
    return all;
  }
  void choose(int row) {
    strip->list().selectionModel()->setCurrentIndex(strip->model().index(row),
                                                    QItemSelectionModel::ClearAndSelect);
    ready();
  }
  void setIntensity(Real value) {
    edits().apply("Intensity", [&](BaseDocument& in) {
      stateOf(in.SearchObject("lamp"))->data.SetReal(param::lightIntensity, value);
    });
  }
  Real intensity() { return attribute("lamp", AttributeId::lightIntensity).GetReal(); }
  void run(const char* action) {
    const std::unique_ptr<QMenu> menu(strip->makeMenu());
    auto* found = menu->findChild<QAction*>(QLatin1String(action));
    ASSERT_TRUE(found) << action;
    ASSERT_TRUE(found->isEnabled()) << action;
    found->trigger();
    ready();
  }
  bool offers(const char* action) {
    const std::unique_ptr<QMenu> menu(strip->makeMenu());
    return menu->findChild<QAction*>(QLatin1String(action))->isEnabled();
  }
  SharedBitmap shown() {
    const auto* picture = session->pictures().find(session->pictures().current());
    return picture ? picture->bitmap : nullptr;
  }
  Filename pluginFolder() { return PluginPictures::usualFolder(); }
  void pluginPicture(const char* name) {
    std::filesystem::create_directories(pluginFolder().GetString().GetUTF8());
    AutoAlloc<BaseBitmap> bitmap;
    bitmap->Init(20, 10);
    bitmap->Clear(200, 20, 30);
    ASSERT_EQ(bitmap->Save(pluginFolder() + Filename(name), FILTER_TIF, nullptr, SAVEBIT_0), IMAGERESULT_OK);
    session->pluginPictures().refresh();
    ready();
  }
};

TEST_F(FilmstripTest, TheEmptyStripTeaches) {
  EXPECT_EQ(strip->model().rowCount(), 0);
  EXPECT_TRUE(strip->findChild<QLabel*>(QStringLiteral("filmstripEmpty"))->isVisible());
  keepPicture(*strip, QStringLiteral("filmstrip-empty"));
}

TEST_F(FilmstripTest, RendersAreListedNewestFirstAndShown) {
  render(0.25f);
  render(0.5f);
  render(1);
  EXPECT_EQ(names(), (QStringList{"room 3", "room 2", "room"}));
  const QString text = strip->model().data(strip->model().index(0), Qt::DisplayRole).toString();
  EXPECT_TRUE(text.startsWith("room 3\nfront\n32 x 18\n")) << text.toStdString();
  EXPECT_TRUE(text.endsWith(", 4.2 s") || text.endsWith(", 4.3 s")) << text.toStdString();
  choose(1);
  ASSERT_TRUE(shown());
  float rgba[4];
  filmOf(*shown())->getColor(0, 0, rgba);
  EXPECT_EQ(rgba[0], 0.5f);
  strip->step(1);
  ready();
  filmOf(*shown())->getColor(0, 0, rgba);
  EXPECT_EQ(rgba[0], 0.25f);
  strip->step(1);
  EXPECT_EQ(strip->list().currentIndex().row(), 2) << "the end";
  QTest::keyClick(&strip->list(), Qt::Key_Up);
  ready();
  filmOf(*shown())->getColor(0, 0, rgba);
  EXPECT_EQ(rgba[0], 0.5f) << "keys step in place";
  EXPECT_EQ(names().size(), 3) << "looking adds nothing";
}

// Rows are as narrow as the strip of a new window: what tells pictures apart must be read whole.
TEST_F(FilmstripTest, RowsFitTheStrip) {
  render(0.5f, "room.glb", "Front camera", 151);
  strip->resize(227, 520);
  settle();
  const QListView& list = strip->list();
  const QModelIndex row = strip->model().index(0);
  const QString text = strip->model().data(row, Qt::DisplayRole).toString();
  EXPECT_TRUE(text.endsWith(", 2.5 min")) << text.toStdString();
  const int room = list.visualRect(row).width() - list.iconSize().width() - 12;
  const QStringList lines = text.split('\n');
  EXPECT_EQ(lines.size(), 4) << text.toStdString();
  for (const QString& line : lines)
    EXPECT_LE(list.fontMetrics().horizontalAdvance(line), room) << line.toStdString();
  const QString tip = strip->model().data(row, Qt::ToolTipRole).toString();
  EXPECT_TRUE(tip.contains(QDate::currentDate().toString(Qt::ISODate))) << tip.toStdString();
  keepPicture(*strip, QStringLiteral("filmstrip-row"));
}

TEST_F(FilmstripTest, TheMenuSaysTheKeys) {
  render(0.5f);
  choose(0);
  const std::unique_ptr<QMenu> menu(strip->makeMenu());
  const std::pair<const char*, const char*> keys[] = {{"restore", "Ctrl+Shift+R"},
                                                      {"changes", "Ctrl+Shift+D"},
                                                      {"star", "*"},
                                                      {"note", "Shift+N"},
                                                      {"rename", "F2"},
                                                      {"use-a", "Shift+A"},
                                                      {"use-b", "Shift+B"}};
  for (const auto& [name, key] : keys) {
    const auto* action = menu->findChild<QAction*>(QLatin1String(name));
    ASSERT_TRUE(action) << name;
    EXPECT_EQ(action->shortcut().toString(QKeySequence::PortableText).toStdString(), key) << name;
  }
}

TEST_F(FilmstripTest, APictureOfTheSessionThatIsKeptIsOneRow) {
  edits().apply("Small", [](BaseDocument& in) {
    BaseContainer& data = stateOf(&in)->renderData.first()->data;
    data.SetLong(RDATA_XRES, 16);
    data.SetLong(RDATA_YRES, 9);
    data.SetLong(RDATA_MAXSAMPLES, 1);
  });
  ASSERT_TRUE(session->renders().renderPicture());
  session->renders().finish();
  ready();
  EXPECT_EQ(strip->model().rowCount(), 1);
  EXPECT_EQ(session->pictures().pictures().size(), 1u);
  choose(0);
  EXPECT_TRUE(offers("restore"));
  EXPECT_EQ(shown(), session->pictures().pictures()[0].bitmap);

  // A new name is that of the row and of the picture that the title and the comparison name.
  ASSERT_TRUE(strip->model().setData(strip->model().index(0), QStringLiteral("warm"), Qt::EditRole));
  ready();
  EXPECT_EQ(names(), QStringList{"warm"});
  EXPECT_EQ(session->pictures().pictures()[0].name.GetUTF8(), "warm");
}

TEST_F(FilmstripTest, SearchAndStars) {
  render(0.25f, "room.glb", "front");
  render(0.5f, "car.glb", "side");
  render(1, "car.glb", "front");
  strip->search().setText("CAR fro");
  EXPECT_EQ(names(), QStringList{"car 2"});
  strip->search().setText("side");
  EXPECT_EQ(names(), QStringList{"car"});
  choose(0);
  strip->setNote("the warm one");
  run("star");
  strip->search().setText("warm");
  EXPECT_EQ(names(), QStringList{"car"});
  strip->search().setText("nothing like it");
  EXPECT_TRUE(strip->findChild<QLabel*>(QStringLiteral("filmstripEmpty"))->isVisible());
  strip->search().clear();
  EXPECT_EQ(names().size(), 3);
  strip->findChild<QToolButton*>(QStringLiteral("filmstripStarred"))->setChecked(true);
  EXPECT_EQ(names(), QStringList{"car"});
  strip->findChild<QToolButton*>(QStringLiteral("filmstripStarred"))->setChecked(false);
  keepPicture(*strip, QStringLiteral("filmstrip"));
  choose(0);
  QTest::keyClick(&strip->list(), Qt::Key_Asterisk);
  ready();
  EXPECT_TRUE(strip->model().data(strip->model().index(0), FilmstripModel::starredRole).toBool());
}

TEST_F(FilmstripTest, RestoreSceneIsOneUndoStep) {
  setIntensity(12);
  render(0.5f);
  setIntensity(8);
  choose(0);
  QString said;
  QObject::connect(strip.get(), &Filmstrip::said, [&](const QString& sentence) { said = sentence; });
  run("restore");
  EXPECT_EQ(intensity(), 12);
  EXPECT_TRUE(said.contains("room")) << said.toStdString();
  EXPECT_EQ(edits().undoName(), "Restore Scene");
  edits().undo();
  EXPECT_EQ(intensity(), 8);
}

TEST_F(FilmstripTest, ShowWhatChangedListsWords) {
  setIntensity(12);
  render(0.5f);
  setIntensity(8);
  render(0.75f);
  setIntensity(7);
  const auto lines = [this] {
    auto* dialog = strip->findChild<QDialog*>(QStringLiteral("changes"));
    if (!dialog) return QString();
    const QString text = dialog->findChild<QListWidget*>()->item(0)->text();
    keepPicture(*dialog, QStringLiteral("filmstrip-changes"));
    delete dialog;
    return text;
  };
  choose(1);
  run("changes");
  EXPECT_EQ(lines(), "lamp intensity 12 cd -> 7 cd");
  strip->list().selectAll();
  run("changes");
  EXPECT_EQ(lines(), "lamp intensity 12 cd -> 8 cd");
}

TEST_F(FilmstripTest, NamesAndRemoval) {
  render(0.5f);
  render(0.75f);
  EXPECT_TRUE(strip->model().setData(strip->model().index(0), "Evening", Qt::EditRole));
  EXPECT_FALSE(strip->model().setData(strip->model().index(0), "  ", Qt::EditRole));
  ready();
  EXPECT_EQ(names(), (QStringList{"Evening", "room"}));
  choose(1);
  run("remove");
  EXPECT_EQ(names(), QStringList{"Evening"});
}

TEST_F(FilmstripTest, ADragGivesAFile) {
  render(0.5f);
  const std::unique_ptr<QMimeData> data(strip->model().mimeData({strip->model().index(0)}));
  ASSERT_TRUE(data);
  ASSERT_EQ(data->urls().size(), 1);
  const SharedBitmap saved = bitmapOf(Filename(toHost(data->urls()[0].toLocalFile())));
  ASSERT_TRUE(saved);
  EXPECT_EQ(saved->GetBw(), 32);
}

// Of an earlier session, of which the disk has the film.
TEST_F(FilmstripTest, ADragOfAKeptRenderReadsItFromTheDisk) {
  render(0.5f);
  render(0.25f);
  ready();
  strip.reset();
  session.reset();
  session = std::make_unique<Session>();
  make();
  ASSERT_EQ(names().size(), 2);
  const auto& items = session->history().items();
  ASSERT_FALSE(items.empty());
  ASSERT_FALSE(session->history().film(items[0].entry->id)) << "not in memory";
  const std::unique_ptr<QMimeData> data(
      strip->model().mimeData({strip->model().index(0), strip->model().index(1)}));
  ASSERT_TRUE(data && data->hasUrls());
  const QList<QUrl> files = data->urls();
  ASSERT_EQ(files.size(), 2);
  EXPECT_NE(files[0], files[1]);
  const SharedBitmap saved = bitmapOf(Filename(toHost(files[1].toLocalFile())));
  ASSERT_TRUE(saved);
  EXPECT_EQ(saved->GetBw(), 32);
  UWORD r = 0, g = 0, b = 0;
  saved->GetPixel(0, 17, &r, &g, &b);
  EXPECT_EQ(r, 188);
}

TEST_F(FilmstripTest, UseAsAGivesThePicture) {
  render(0.5f);
  choose(0);
  int slot = -1;
  SharedBitmap given;
  QObject::connect(strip.get(), &Filmstrip::useWanted,
                   [&](int which, const SharedBitmap& picture, const QString&) {
                     slot = which;
                     given = picture;
                   });
  run("use-b");
  EXPECT_EQ(slot, 1);
  ASSERT_TRUE(given);
  EXPECT_TRUE(filmOf(*given));
}

// The plug-in's folder stays as it is; a star keeps a copy that outlives the picture, a note does not.
TEST_F(FilmstripTest, PicturesOfThePluginsFolder) {
  pluginPicture("room[001].tif");
  pluginPicture("room[002].tif");
  EXPECT_EQ(names().size(), 2);
  choose(names().indexOf("room[001]"));
  ASSERT_TRUE(shown());
  EXPECT_EQ(shown()->GetBw(), 20);
  EXPECT_FALSE(offers("restore"));
  EXPECT_FALSE(offers("remove"));
  EXPECT_FALSE(offers("rename"));
  run("star");
  choose(names().indexOf("room[002]"));
  strip->setNote("too dark");
  ready();
  EXPECT_EQ(names().size(), 2) << "a copy stands in place of its picture";
  const std::string pictures = pluginFolder().GetString().GetUTF8();
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(pictures), {}), 2) << "only read";
  std::filesystem::remove(pictures + "/room[001].tif");
  std::filesystem::remove(pictures + "/room[002].tif");
  session->pluginPictures().refresh();
  ready();
  EXPECT_EQ(names(), QStringList{"room[001]"});
  choose(0);
  ASSERT_TRUE(shown());
  EXPECT_EQ(shown()->GetBw(), 20) << "its own copy";
}

} // namespace

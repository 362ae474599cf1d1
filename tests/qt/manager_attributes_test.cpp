// The attribute manager: fields show the selection, edits through them reach it, drags are one step.
#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>

#include "attribute_fields.h"
#include "attribute_manager.h"
#include "color_picker.h"
#include "color_plane.h"
#include "manager_kit.h"
#include "number_field.h"

using namespace host;

namespace {

class ManagerAttributesTest : public ManagerTest {
 public:
  ManagerAttributesTest() {
    manager = std::make_unique<AttributeManager>(*session);
    manager->resize(300, 560);
    manager->show();
    manager->activateWindow();
    settle();
  }
  ~ManagerAttributesTest() override { manager.reset(); }

  std::unique_ptr<AttributeManager> manager;

  template <class Field>
  Field& field(AttributeId id) {
    auto* found = dynamic_cast<Field*>(manager->field(id));
    if (!found) throw std::runtime_error("the attribute has no field");
    return *found;
  }
  void type(QLineEdit& edit, const char* text) {
    edit.setFocus();
    edit.selectAll();
    QTest::keyClicks(&edit, QLatin1String(text));
    QTest::keyClick(&edit, Qt::Key_Return);
    settle();
  }
  static void drag(NumberField& field, int pixels, bool escape = false) {
    const QPoint start = field.rect().center();
    QTest::mousePress(&field, Qt::LeftButton, {}, start);
    for (int x = 1; x <= pixels; ++x) {
      const QPoint at = start + QPoint(x, 0);
      QMouseEvent move(QEvent::MouseMove, at, field.mapToGlobal(at), Qt::NoButton, Qt::LeftButton, {});
      QApplication::sendEvent(&field, &move);
      settle();
    }
    if (escape) QTest::keyClick(&field, Qt::Key_Escape);
    QTest::mouseRelease(&field, Qt::LeftButton, {}, start + QPoint(pixels, 0));
    settle();
  }
};

TEST_F(ManagerAttributesTest, NothingSelectedTeaches) {
  auto* words = manager->findChild<QLabel*>(QStringLiteral("attributesEmpty"));
  ASSERT_TRUE(words);
  EXPECT_TRUE(words->isVisible());
  EXPECT_TRUE(words->text().contains(QStringLiteral("Select an object")));
  EXPECT_TRUE(manager->nodes().empty());
  keepPicture(*manager, QStringLiteral("attributes-empty"));
}

TEST_F(ManagerAttributesTest, FieldsAreThoseOfTheKind) {
  select({id("lamp")});
  EXPECT_TRUE(manager->field(AttributeId::lightIntensity));
  EXPECT_TRUE(manager->field(AttributeId::lightRadius));
  EXPECT_FALSE(manager->field(AttributeId::lightOuterCone));
  EXPECT_FALSE(manager->field(AttributeId::cameraFieldOfView));
  select({id("camera")});
  EXPECT_TRUE(manager->field(AttributeId::cameraFieldOfView));
  EXPECT_FALSE(manager->field(AttributeId::lightIntensity));
  select({id("camera"), id("lamp")});
  EXPECT_TRUE(manager->field(AttributeId::position));
  EXPECT_FALSE(manager->field(AttributeId::lightIntensity));
}

TEST_F(ManagerAttributesTest, TypedValuesReachTheDocument) {
  select({id("lamp")});
  const DocumentPtr before = copy();
  type(field<VectorAttributeField>(AttributeId::position).part(1), "9/2");
  EXPECT_EQ(attribute("lamp", AttributeId::position).GetVector(), Vector(0, 4.5, 0));
  EXPECT_EQ(edits().undoName(), String("Change Position"));
  type(field<TextAttributeField>(AttributeId::name).edit(), "key");
  EXPECT_TRUE(document().SearchObject("key"));
  type(field<NumberAttributeField>(AttributeId::lightIntensity).number(), "25");
  EXPECT_EQ(attribute("key", AttributeId::lightIntensity).GetReal(), 25);
  EXPECT_EQ(edits().stepCount(), 3u);
  for (int i = 0; i < 3; ++i)
    edits().undo();
  expectEqual(before);
  settle();
  EXPECT_EQ(field<VectorAttributeField>(AttributeId::position).part(1).value(), 4);
  EXPECT_EQ(field<TextAttributeField>(AttributeId::name).edit().text(), QStringLiteral("lamp"));
}

TEST_F(ManagerAttributesTest, LightsShowUnitsTemperatureAndSwitches) {
  select({id("lamp")});
  const DocumentPtr before = copy();
  type(field<NumberAttributeField>(AttributeId::lightTemperature).number(), "3200");
  EXPECT_EQ(attribute("lamp", AttributeId::lightTemperature).GetReal(), 3200);
  field<SwitchAttributeField>(AttributeId::lightMuted).box().click();
  settle();
  EXPECT_TRUE(attribute("lamp", AttributeId::lightMuted).GetBool());
  EXPECT_FALSE(attribute("lamp", AttributeId::lightSolo).GetBool());
  keepPicture(*manager, QStringLiteral("attributes-light"));
  edits().undo();
  edits().undo();
  expectEqual(before);
}

TEST_F(ManagerAttributesTest, OpacityComesWithItsAlphaMode) {
  edits().apply("Select", [&](BaseDocument& in) { selectMaterial(in, material("red")); });
  settle();
  const auto choose = [&](int mode) {
    QComboBox& box = field<ChoiceAttributeField>(AttributeId::materialAlphaMode).box();
    box.setCurrentIndex(mode);
    emit box.activated(mode);
    settle();
  };
  EXPECT_FALSE(manager->field(AttributeId::materialAlpha)) << "nothing that would have no effect";
  choose(2);
  EXPECT_EQ(edits().undoName(), String("Change Alpha"));
  type(field<NumberAttributeField>(AttributeId::materialAlpha).number(), "0.25");
  EXPECT_FALSE(manager->field(AttributeId::materialAlphaCutoff));
  choose(1);
  type(field<NumberAttributeField>(AttributeId::materialAlphaCutoff).number(), "0.75");
  keepPicture(*manager, QStringLiteral("attributes-alpha"));
  const BaseContainer& data = *document().SearchMaterial("red")->GetDataInstance();
  EXPECT_EQ(data.GetLong(param::alphaMode), 1);
  EXPECT_EQ(data.GetReal(param::baseAlpha), 0.25);
  EXPECT_EQ(data.GetReal(param::alphaCutoff), 0.75);
  for (int i = 0; i < 4; ++i)
    edits().undo();
  settle();
  EXPECT_FALSE(manager->field(AttributeId::materialAlpha));
}

TEST_F(ManagerAttributesTest, ASkysPictureIsTypedOrChosen) {
  const Filename noon = folder.write("noon.hdr", "#?RADIANCE\n");
  const Filename dusk = folder.write("dusk.hdr", "#?RADIANCE\n");
  edits().apply("Sky", [](BaseDocument& in) { newObject(in, Osky); });
  settle();
  EXPECT_FALSE(manager->field(AttributeId::skyPicture));
  QComboBox& kind = field<ChoiceAttributeField>(AttributeId::skyKind).box();
  kind.setCurrentIndex(3);
  emit kind.activated(3);
  settle();
  auto& picture = field<FileAttributeField>(AttributeId::skyPicture);
  EXPECT_TRUE(manager->field(AttributeId::skyRotation));
  EXPECT_TRUE(manager->field(AttributeId::skyStrength));
  type(picture.edit(), noon.GetString().GetUTF8().c_str());
  EXPECT_EQ(attribute("Sky", AttributeId::skyPicture).GetFilename(), noon);
  EXPECT_EQ(edits().undoName(), String("Set Sky Picture"));
  // An unreadable file is refused once, and the field shows the old one.
  int told = 0;
  FileQuestions questions;
  questions.failed = [&](const FileError&) { ++told; };
  session->files().setQuestions(std::move(questions));
  type(picture.edit(), "/nowhere/at all.hdr");
  EXPECT_EQ(told, 1);
  EXPECT_EQ(picture.edit().text(), toQt(noon.GetString()));
  // The button's chooser.
  whenModal([&](QWidget& box) {
    auto& chooser = dynamic_cast<QFileDialog&>(box);
    chooser.selectFile(toQt(dusk.GetString()));
    QMetaObject::invokeMethod(&chooser, "accept");
  });
  picture.button().click();
  settle();
  EXPECT_EQ(attribute("Sky", AttributeId::skyPicture).GetFilename(), dusk);
  EXPECT_EQ(picture.edit().text(), toQt(dusk.GetString()));
  keepPicture(*manager, QStringLiteral("attributes-sky-picture"));
  picture.edit().setFocus();
  picture.edit().selectAll();
  QTest::keyClick(&picture.edit(), Qt::Key_Delete);
  QTest::keyClick(&picture.edit(), Qt::Key_Return);
  settle();
  EXPECT_FALSE(attribute("Sky", AttributeId::skyPicture).GetFilename().Content());
  edits().undo();
  EXPECT_EQ(attribute("Sky", AttributeId::skyPicture).GetFilename(), dusk) << "taking it away is a step";
}

TEST_F(ManagerAttributesTest, RangesAndUnitsHold) {
  select({id("camera")});
  NumberField& view = field<NumberAttributeField>(AttributeId::cameraFieldOfView).number();
  type(view, "500");
  EXPECT_NEAR(attribute("camera", AttributeId::cameraFieldOfView).GetReal(), 179, 1e-9);
  type(view, "60");
  EXPECT_NEAR(document().SearchObject("camera")->GetDataInstance()->GetReal(param::cameraYfov), 1.0471975512,
              1e-9)
      << "stored in radians";
  EXPECT_EQ(view.suffix(), QString(QChar(0xb0)));
  EXPECT_EQ(field<VectorAttributeField>(AttributeId::position).part(0).suffix(), QStringLiteral(" m"));
}

TEST_F(ManagerAttributesTest, ADragIsLiveAndOneStep) {
  select({id("lamp"), id("spot")});
  int events = 0;
  const Subscription heard = session->hub().changed.add([&] { ++events; });
  const DocumentPtr before = copy();
  NumberField& x = field<VectorAttributeField>(AttributeId::position).part(0);
  drag(x, 40);
  const Vector lamp = attribute("lamp", AttributeId::position).GetVector();
  EXPECT_GT(lamp.x, 0);
  EXPECT_EQ(lamp.y, 4) << "only the dragged part";
  EXPECT_EQ(attribute("spot", AttributeId::position).GetVector().x, lamp.x);
  EXPECT_GT(events, 5) << "views follow the drag";
  EXPECT_EQ(edits().stepCount(), 1u);
  edits().undo();
  expectEqual(before);
}

TEST_F(ManagerAttributesTest, EscapeTakesADragBack) {
  select({id("lamp")});
  const DocumentPtr before = copy();
  drag(field<VectorAttributeField>(AttributeId::position).part(0), 30, true);
  expectEqual(before);
  EXPECT_EQ(edits().stepCount(), 0u);
  EXPECT_FALSE(edits().isContinuous());
}

TEST_F(ManagerAttributesTest, MixedValuesShowAsSuchAndTypingSetsAll) {
  select({id("lamp"), id("camera")});
  auto& position = field<VectorAttributeField>(AttributeId::position);
  EXPECT_FALSE(position.part(0).isMixed()) << "both at 0";
  EXPECT_TRUE(position.part(1).isMixed());
  EXPECT_TRUE(position.part(2).isMixed());
  EXPECT_TRUE(field<TextAttributeField>(AttributeId::name).edit().text().isEmpty());
  type(position.part(1), "2");
  EXPECT_EQ(attribute("lamp", AttributeId::position).GetVector(), Vector(0, 2, 0));
  EXPECT_EQ(attribute("camera", AttributeId::position).GetVector(), Vector(0, 2, 8));
  EXPECT_FALSE(position.part(1).isMixed());
  EXPECT_TRUE(position.part(2).isMixed());
}

TEST_F(ManagerAttributesTest, MixedSwitchesAreTurnedOnTogether) {
  edits().apply("Hide", [&](BaseDocument& in) {
    setAttribute(in, std::vector{id("lamp")}, AttributeId::visibleRender, GeData::FromBool(FALSE));
  });
  select({id("lamp"), id("camera")});
  QCheckBox& box = field<SwitchAttributeField>(AttributeId::visibleRender).box();
  EXPECT_EQ(box.checkState(), Qt::PartiallyChecked);
  box.click();
  settle();
  EXPECT_EQ(box.checkState(), Qt::Checked);
  EXPECT_TRUE(attribute("lamp", AttributeId::visibleRender).GetBool());
  box.click();
  settle();
  EXPECT_FALSE(attribute("camera", AttributeId::visibleRender).GetBool());
}

TEST_F(ManagerAttributesTest, FinishAndBodyHaveFields) {
  edits().apply("Select", [&](BaseDocument& in) { selectMaterial(in, material("red")); });
  settle();
  for (const AttributeId each :
       {AttributeId::materialSheenColor, AttributeId::materialSheenRoughness, AttributeId::materialAnisotropy,
        AttributeId::materialAnisotropyRotation, AttributeId::materialIridescence,
        AttributeId::materialIridescenceIor, AttributeId::materialFilmThickness,
        AttributeId::materialThickness, AttributeId::materialAttenuationColor,
        AttributeId::materialAttenuationDistance, AttributeId::materialDispersion,
        AttributeId::materialDiffuseTransmission, AttributeId::materialDiffuseTransmissionColor})
    EXPECT_TRUE(manager->field(each)) << static_cast<int>(each);
  const auto dispersion = [&] {
    return attributeValue(document(), material("red"), AttributeId::materialDispersion).GetReal();
  };
  type(field<NumberAttributeField>(AttributeId::materialDispersion).number(), "0.3");
  EXPECT_EQ(dispersion(), 0.3);
  edits().undo();
  EXPECT_EQ(dispersion(), 0);
}

// A light with an area has a size, and no radius.
TEST_F(ManagerAttributesTest, AreaLightsShowTheirSize) {
  select({id("lamp")});
  const auto choose = [&](int kind) {
    QComboBox& box = field<ChoiceAttributeField>(AttributeId::lightKind).box();
    box.setCurrentIndex(kind);
    emit box.activated(kind);
    settle();
  };
  choose(3);
  EXPECT_TRUE(manager->field(AttributeId::lightWidth));
  EXPECT_TRUE(manager->field(AttributeId::lightHeight));
  EXPECT_FALSE(manager->field(AttributeId::lightRadius));
  choose(4);
  EXPECT_TRUE(manager->field(AttributeId::lightWidth));
  EXPECT_FALSE(manager->field(AttributeId::lightHeight));
}

TEST_F(ManagerAttributesTest, AChoiceChangesTheFields) {
  select({id("lamp")});
  QComboBox& kind = field<ChoiceAttributeField>(AttributeId::lightKind).box();
  kind.setFocus();
  QTest::keyClick(&kind, Qt::Key_Down);
  settle();
  EXPECT_EQ(attribute("lamp", AttributeId::lightKind).GetLong(), 1);
  EXPECT_TRUE(manager->field(AttributeId::lightOuterCone));
  edits().undo();
  settle();
  EXPECT_FALSE(manager->field(AttributeId::lightOuterCone));
}

TEST_F(ManagerAttributesTest, ColoursAreTypedAndLinear) {
  select({id("lamp")});
  auto& color = field<ColorAttributeField>(AttributeId::lightColor);
  type(color.code(), "#ff8000");
  const Vector value = attribute("lamp", AttributeId::lightColor).GetVector();
  EXPECT_NEAR(value.x, 1, 1e-6);
  EXPECT_NEAR(value.y, std::pow((128 / 255.0 + 0.055) / 1.055, 2.4), 1e-4);
  EXPECT_EQ(value.z, 0);
  EXPECT_EQ(color.color().name(), QStringLiteral("#ff8000"));
  ASSERT_TRUE(color.brightness());
  type(*color.brightness(), "300");
  const Vector bright = attribute("lamp", AttributeId::lightColor).GetVector();
  EXPECT_NEAR(bright.x, 3, 1e-9);
  EXPECT_NEAR(bright.y, 3 * value.y, 1e-9);
  EXPECT_EQ(color.color().name(), QStringLiteral("#ff8000")) << "the hue stays";
  type(color.code(), "no colour");
  EXPECT_EQ(attribute("lamp", AttributeId::lightColor).GetVector(), bright);
  EXPECT_EQ(color.code().text(), QStringLiteral("#ff8000"));
}

ColorPicker& pickerOf(ColorAttributeField& field) {
  field.swatch().click();
  auto* found = field.window()->findChild<ColorPicker*>(QStringLiteral("colorPicker"));
  if (!found) throw std::runtime_error("no picker");
  return *found;
}

NumberField& numberIn(ColorPicker& picker, const QString& name) {
  for (auto* number : picker.findChildren<NumberField*>())
    if (number->accessibleName() == name) return *number;
  throw std::runtime_error("no number " + name.toStdString());
}

TEST_F(ManagerAttributesTest, TheColourPickerIsLiveAndADragIsOneStep) {
  select({id("lamp")});
  const DocumentPtr before = copy();
  ColorPicker& picker = pickerOf(field<ColorAttributeField>(AttributeId::lightColor));
  auto* plane = picker.findChild<SaturationPlane*>();
  ASSERT_TRUE(plane);
  const auto at = [&](double x, double y) {
    return QPoint(static_cast<int>(x * (plane->width() - 1)), static_cast<int>(y * (plane->height() - 1)));
  };
  QTest::mousePress(plane, Qt::LeftButton, {}, at(1, 0));
  settle();
  EXPECT_EQ(attribute("lamp", AttributeId::lightColor).GetVector(), Vector(1, 0, 0)) << "while it is dragged";
  QTest::mouseMove(plane, at(0.5, 0.5));
  QTest::mouseMove(plane, at(0, 1));
  settle();
  EXPECT_EQ(attribute("lamp", AttributeId::lightColor).GetVector(), Vector());
  QTest::mouseRelease(plane, Qt::LeftButton, {}, at(0, 1));
  settle();
  EXPECT_EQ(edits().stepCount(), 1u);
  EXPECT_FALSE(edits().isContinuous());
  edits().undo();
  expectEqual(before);
  settle();
  EXPECT_EQ(picker.color(), Vector(1, 1, 1)) << "it follows the scene";
  type(numberIn(picker, "Temperature in kelvin"), "3000");
  const Vector warm = attribute("lamp", AttributeId::lightColor).GetVector();
  EXPECT_DOUBLE_EQ(warm.x, 1);
  EXPECT_LT(warm.z, warm.y);
  EXPECT_EQ(edits().stepCount(), 1u);
  type(numberIn(picker, "Red, linear"), "2.5");
  EXPECT_NEAR(attribute("lamp", AttributeId::lightColor).GetVector().x, 2.5, 1e-9) << "brighter than white";
  EXPECT_EQ(edits().stepCount(), 2u);
}

TEST_F(ManagerAttributesTest, EscapeTakesADragOfThePickerBack) {
  select({id("lamp")});
  const DocumentPtr before = copy();
  ColorPicker& picker = pickerOf(field<ColorAttributeField>(AttributeId::lightColor));
  auto* strip = picker.findChild<HueStrip*>();
  auto* plane = picker.findChild<SaturationPlane*>();
  ASSERT_TRUE(strip && plane);
  QTest::mousePress(plane, Qt::LeftButton, {}, QPoint(plane->width() / 2, 0));
  settle();
  QTest::keyClick(plane, Qt::Key_Escape);
  QTest::mouseRelease(plane, Qt::LeftButton);
  settle();
  expectEqual(before);
  EXPECT_FALSE(edits().isContinuous());
  EXPECT_TRUE(picker.isVisible()) << "the window stays";
}

TEST_F(ManagerAttributesTest, ThePickerGoesWithItsField) {
  select({id("lamp")});
  const QPointer<ColorPicker> picker = &pickerOf(field<ColorAttributeField>(AttributeId::lightColor));
  auto* plane = picker->findChild<SaturationPlane*>();
  QTest::mousePress(plane, Qt::LeftButton, {}, QPoint(3, 3));
  session->hub().replace(scene(), Replacement::reloaded);
  settle();
  EXPECT_FALSE(edits().isContinuous());
  EXPECT_TRUE(!picker || !picker->isVisible());
}

TEST_F(ManagerAttributesTest, MaterialsAndObjectsTakeTurns) {
  select({id("lamp")});
  EXPECT_TRUE(manager->field(AttributeId::lightColor));
  edits().apply("Select", [&](BaseDocument& in) { selectMaterial(in, material("red")); });
  settle();
  ASSERT_TRUE(manager->field(AttributeId::materialRoughness));
  EXPECT_EQ(manager->nodes(), std::vector{material("red")});
  type(field<NumberAttributeField>(AttributeId::materialRoughness).number(), "0.25");
  EXPECT_EQ(attributeValue(document(), material("red"), AttributeId::materialRoughness).GetReal(), 0.25);
  keepPicture(*manager, QStringLiteral("attributes-material"));
  select({id("camera")});
  EXPECT_TRUE(manager->field(AttributeId::cameraFieldOfView));
  select({});
  EXPECT_TRUE(manager->field(AttributeId::materialRoughness)) << "the material is still selected";
}

TEST_F(ManagerAttributesTest, WheelStepsThatFollowEachOtherAreOneStep) {
  select({id("lamp")});
  NumberField& number = field<NumberAttributeField>(AttributeId::lightIntensity).number();
  const double before = attribute("lamp", AttributeId::lightIntensity).GetReal();
  number.setFocus();
  for (int i = 0; i < 3; ++i)
    QTest::keyClick(&number, Qt::Key_Up);
  settle();
  EXPECT_NEAR(attribute("lamp", AttributeId::lightIntensity).GetReal(), before + 0.3, 1e-9);
  EXPECT_EQ(edits().stepCount(), 1u);
}

TEST_F(ManagerAttributesTest, Looks) {
  select({id("spot")});
  EXPECT_EQ(manager->grab().size(), QSize(300, 560));
  for (const AttributeId id : {AttributeId::name, AttributeId::position, AttributeId::lightColor,
                               AttributeId::lightIntensity, AttributeId::lightKind}) {
    const QWidget& shown = *manager->field(id);
    EXPECT_LE(shown.mapTo(manager.get(), QPoint(shown.width(), 0)).x(), 300 - metrics::grid)
        << "nothing is cut off";
  }
  keepPicture(*manager, QStringLiteral("attributes-spot"));
  select({id("lamp"), id("camera")});
  keepPicture(*manager, QStringLiteral("attributes-mixed"));
}

} // namespace

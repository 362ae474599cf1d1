// The library of materials: the program's, the user's own, copies between scenes, and files that cannot be
// read.
#include "material_library.h"

#include <filesystem>
#include <fstream>
#include <set>

#include "file_path.h"
#include "program_folder.h"
#include "scene_file.h"
#include "session_fixture.h"

namespace {

using namespace host;

class MaterialLibraryTest : public SessionFixture {
 protected:
  MaterialLibraryTest() : shelf(toPath(folder / "library-test")) {
    openScene();
    session->previews().setEnabled(false);
  }
  ~MaterialLibraryTest() override { library.reset(); }

  void open(const Filename& given = programFolder() + Filename("library") + Filename("materials.gltf")) {
    library = std::make_unique<MaterialLibrary>(session->previews(), given, toFilename(shelf));
    library->open();
    library->finish();
  }
  const MaterialLibrary::Entry& entry(const std::string& name) {
    for (const MaterialLibrary::Entry& one : library->entries())
      if (one.name == name) return one;
    throw std::runtime_error("no entry " + name);
  }
  std::string keep(const char* name) {
    std::string answer = "not called";
    library->keep(document(), material(name), [&answer](const std::string& error) { answer = error; });
    library->finish();
    return answer;
  }
  void write(const char* name, const std::string& content) {
    std::filesystem::create_directories(shelf);
    std::ofstream(shelf / name, std::ios::binary) << content;
  }
  double real(Identity material, LONG parameter) {
    return param::real(*findNode(state(), material), parameter);
  }

  std::filesystem::path shelf;
  std::unique_ptr<MaterialLibrary> library;
};

TEST_F(MaterialLibraryTest, TheProgramsMaterialsAreThereInGroups) {
  open();
  EXPECT_TRUE(library->problems().empty());
  EXPECT_GE(library->entries().size(), 30u);
  std::set<std::string> groups, names;
  for (const MaterialLibrary::Entry& one : library->entries()) {
    groups.insert(one.group);
    names.insert(one.group + "/" + one.name);
    EXPECT_FALSE(one.own());
    EXPECT_EQ(one.name.find('/'), std::string::npos);
  }
  EXPECT_EQ(names.size(), library->entries().size()) << "no name twice";
  EXPECT_GE(groups.size(), 6u);
  EXPECT_EQ(entry("Chrome").group, "Metals");
}

TEST_F(MaterialLibraryTest, BringsACopyWithAllOfIt) {
  open();
  Identity copy = 0;
  edits().apply("Take", [&](BaseDocument& in) { copy = library->bring(in, entry("Diamond").identity); });
  ASSERT_NE(copy, entry("Diamond").identity);
  EXPECT_EQ(document().SearchMaterial("Diamond")->GetIdentity(), copy);
  EXPECT_EQ(selectedMaterial(document()), copy);
  EXPECT_NEAR(real(copy, param::ior), 2.42, 1e-6);
  EXPECT_NEAR(real(copy, param::dispersion), 0.36, 1e-6);
  edits().apply("Take", [&](BaseDocument& in) { copy = library->bring(in, entry("Diamond").identity); });
  EXPECT_EQ(document().SearchMaterial("Diamond 2")->GetIdentity(), copy) << "another name";
  EXPECT_EQ(library->bring(document(), material("red")), material("red")) << "the document's own stays";
  const std::size_t count = materialRows(document()).size();
  edits().undo();
  EXPECT_EQ(materialRows(document()).size(), count - 1);
}

TEST_F(MaterialLibraryTest, KeepsAndDeletesTheUsersOwn) {
  open();
  EXPECT_EQ(keep("red"), "");
  EXPECT_EQ(keep("red"), "");
  EXPECT_TRUE(std::filesystem::exists(shelf / "red.glb"));
  EXPECT_TRUE(std::filesystem::exists(shelf / "red 2.glb")) << "the first one is not overwritten";
  const auto own = [&] {
    std::size_t count = 0;
    for (const MaterialLibrary::Entry& one : library->entries())
      count += one.own();
    return count;
  };
  EXPECT_EQ(own(), 2u);
  open(); // as the next start does
  EXPECT_EQ(own(), 2u);
  EXPECT_EQ(entry("red").group, "Own");
  Identity copy = 0;
  edits().apply("Take", [&](BaseDocument& in) { copy = library->bring(in, entry("red").identity); });
  EXPECT_EQ(param::vector(*findNode(state(), copy), param::baseColor),
            param::vector(*findNode(state(), material("red")), param::baseColor));
  EXPECT_EQ(library->remove(entry("red").identity), "");
  EXPECT_EQ(own(), 1u);
  EXPECT_NE(library->remove(entry("Chrome").identity), "") << "the program's stay";
  EXPECT_NE(library->remove(12345), "");
}

TEST_F(MaterialLibraryTest, NamesDoNotLeaveTheFolder) {
  open();
  edits().apply("Rename", [&](BaseDocument& in) { renameNode(in, material("red"), "../../a:b*\n"); });
  std::string answer = "not called";
  library->keep(document(),
                selectedMaterial(document()) ? selectedMaterial(document())
                                             : materialRows(document())[0].identity,
                [&answer](const std::string& error) { answer = error; });
  library->finish();
  EXPECT_EQ(answer, "");
  int files = 0;
  for (const auto& file : std::filesystem::directory_iterator(shelf)) {
    EXPECT_EQ(file.path().extension(), ".glb");
    ++files;
  }
  EXPECT_EQ(files, 1);
}

TEST_F(MaterialLibraryTest, DamagedFilesAreNamedAndTheOthersStay) {
  write("empty.glb", "");
  write("cut.glb", std::string("glTF\x02\0\0\0\xff\xff\0\0", 12));
  write("words.glb", "this is no scene");
  write("none.glb", R"({"asset": {"version": "2.0"}})");
  write(
      "odd.glb",
      R"({"asset": {"version": "2.0"}, "materials": [{"name": "odd", "pbrMetallicRoughness": {"roughnessFactor": 1e999}}]})");
  write("good.glb", R"({"asset": {"version": "2.0"}, "materials": [{"name": "a/b"}]})");
  write("note.txt", "not a material");
  open();
  EXPECT_GE(library->problems().size(), 4u);
  for (const std::string& problem : library->problems())
    EXPECT_NE(problem.find(".glb"), std::string::npos) << problem;
  EXPECT_EQ(entry("a/b").group, "Own") << "a group is the program's alone";
  EXPECT_NO_THROW(entry("Chrome"));
}

TEST_F(MaterialLibraryTest, AMissingFileOfTheProgramLeavesTheUsersOwn) {
  write("good.glb", R"({"asset": {"version": "2.0"}, "materials": [{"name": "mine"}]})");
  open(Filename("/nowhere/materials.gltf"));
  ASSERT_EQ(library->problems().size(), 1u);
  EXPECT_NE(library->problems()[0].find("/nowhere/materials.gltf"), std::string::npos);
  EXPECT_EQ(library->entries().size(), 1u);
}

TEST_F(MaterialLibraryTest, AFolderThatCannotBeWrittenIsOneSentence) {
  std::ofstream(shelf.string()) << "a file in its place";
  library = std::make_unique<MaterialLibrary>(session->previews(), Filename(), toFilename(shelf));
  const std::string answer = keep("red");
  EXPECT_NE(answer.find(shelf.string()), std::string::npos) << answer;
  std::filesystem::remove(shelf);
  library = std::make_unique<MaterialLibrary>(session->previews(), Filename(), Filename());
  EXPECT_NE(keep("red"), "") << "no home";
}

TEST_F(MaterialLibraryTest, ACopyPastesItselfAndNothingElseDoes) {
  std::string error;
  const std::string text = materialText(document(), material("red"), error);
  EXPECT_EQ(error, "");
  Identity pasted = 0;
  edits().apply("Paste", [&](BaseDocument& in) { pasted = pasteMaterials(in, text, error); });
  ASSERT_NE(pasted, 0u);
  EXPECT_EQ(error, "");
  EXPECT_EQ(param::vector(*findNode(state(), pasted), param::baseColor),
            param::vector(*findNode(state(), material("red")), param::baseColor));
  const DocumentPtr before = copy();
  for (const std::string& other : {std::string(), std::string("hello"), std::string("{}"),
                                   std::string(70000, '['), text.substr(0, text.size() / 2)}) {
    error.clear();
    EXPECT_EQ(pasteMaterials(document(), other, error), 0u);
    EXPECT_NE(error, "");
    expectEqual(before, "after a paste of other text");
  }
  EXPECT_EQ(materialText(document(), 4711, error), "");
}

TEST_F(MaterialLibraryTest, ThumbnailsOutliveTheScene) {
  open();
  session->previews().setEnabled(true);
  const Identity chrome = entry("Chrome").identity;
  EXPECT_EQ(session->previews().preview(chrome, 16), nullptr) << "not yet rendered";
  session->previews().finish();
  const auto picture = session->previews().preview(chrome, 16);
  ASSERT_NE(picture, nullptr);
  openScene();
  EXPECT_EQ(session->previews().preview(chrome, 16), picture);
  library.reset();
  EXPECT_EQ(session->previews().preview(chrome, 16), nullptr) << "the library is gone";
}

} // namespace

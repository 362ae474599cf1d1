// Imports scenes; the entry of the part.
#include <assimp/DefaultIOSystem.h>
#include <assimp/Importer.hpp>
#include <assimp/config.h>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>

#include "assimp_materials.h"
#include "dae_cameras.h"
#include "document.h"
#include "evaluate.h"
#include "mesh_tools.h"
#include "parameters.h"
#include "scene_import.h"

namespace host {

namespace {

namespace fs = std::filesystem;

// Restricts the library to the scene itself and files at or below its folder.
class FolderSystem final : public Assimp::DefaultIOSystem {
 public:
  explicit FolderSystem(const fs::path& scene) : folder_(fs::weakly_canonical(scene).parent_path()) {}

  bool Exists(const char* name) const override {
    return allowed(name) && Assimp::DefaultIOSystem::Exists(name);
  }
  Assimp::IOStream* Open(const char* name, const char* mode) override {
    return allowed(name) && mode[0] == 'r' ? Assimp::DefaultIOSystem::Open(name, mode) : nullptr;
  }

 private:
  bool allowed(const char* name) const {
    std::error_code code;
    const fs::path path = fs::weakly_canonical(name, code);
    if (code || !fs::is_regular_file(path, code)) return false;
    const auto end = std::mismatch(folder_.begin(), folder_.end(), path.begin(), path.end()).first;
    return end == folder_.end();
  }
  fs::path folder_;
};

Vector vectorOf(const aiVector3D& v) {
  return {v.x, v.y, v.z};
}

Matrix matrixOf(const aiMatrix4x4& m) {
  return {Vector(m.a4, m.b4, m.c4), Vector(m.a1, m.b1, m.c1), Vector(m.a2, m.b2, m.c2),
          Vector(m.a3, m.b3, m.c3)};
}

Vector unitVector(const Vector& v, const Vector& otherwise) {
  const Real length = std::sqrt(Dot(v, v));
  return length > 0 && std::isfinite(length) ? v * (1 / length) : otherwise;
}

class Converter {
 public:
  Converter(const aiScene& scene, std::vector<DaeCamera> daeCameras, const Filename& folder,
            LoadContext& context)
      : scene_(scene), daeCameras_(std::move(daeCameras)), context_(context),
        materials_(scene, folder, context),
        document_(static_cast<DocumentState*>(makeNode(NodeKind::document, 0))) {}

  NodePtr<DocumentState> convert() {
    materials_.makeMaterials(document_->materials);
    readAnimations();
    if (scene_.mRootNode) addTop(*scene_.mRootNode);
    if (context_.notFinite > 0)
      context_.warn(std::to_string(context_.notFinite) +
                    " numbers that are not finite were set to 0; export the scene again if it looks wrong.");
    DocumentState& d = *document_;
    const LONG frames = static_cast<LONG>(std::min(std::ceil(lastKey(d) * d.fps - 1e-3), 1e9));
    d.maxTime = d.loopMaxTime = BaseTime(frames > 0 ? frames : 90, d.fps);
    completeDocument(d, BroughtByFile{});
    return std::move(document_);
  }

 private:
  // --- meshes ---

  float finite(float value) {
    if (std::isfinite(value)) return value;
    ++context_.notFinite;
    return 0;
  }
  Float3 finite(const aiVector3D& v) { return {finite(v.x), finite(v.y), finite(v.z)}; }

  // Joins the meshes of a node, a group each. Missing attributes get neutral values.
  MeshPtr makeMesh(const aiNode& node, std::vector<Identity>& materials) {
    std::vector<const aiMesh*> parts;
    for (unsigned i = 0; i < node.mNumMeshes; ++i)
      if (node.mMeshes[i] < scene_.mNumMeshes) parts.push_back(scene_.mMeshes[node.mMeshes[i]]);
    const auto any = [&](auto has) { return std::any_of(parts.begin(), parts.end(), has); };
    const bool normals = any([](const aiMesh* m) { return m->HasNormals(); });
    const bool colors = any([](const aiMesh* m) { return m->HasVertexColors(0); });
    const bool uv[2] = {any([](const aiMesh* m) { return m->HasTextureCoords(0); }),
                        any([](const aiMesh* m) { return m->HasTextureCoords(1); })};
    auto mesh = std::make_shared<Mesh>();
    for (const aiMesh* part : parts) {
      const auto first = static_cast<std::uint32_t>(mesh->positions.size());
      context_.spend(part->mNumVertices, 3);
      for (unsigned v = 0; v < part->mNumVertices; ++v) {
        mesh->positions.push_back(finite(part->mVertices[v]));
        if (normals)
          mesh->normals.push_back(part->HasNormals() ? unit(finite(part->mNormals[v]), {0, 1, 0})
                                                     : Float3{0, 1, 0});
        for (unsigned set = 0; set < 2; ++set) {
          if (!uv[set]) continue;
          const bool has = part->HasTextureCoords(set);
          mesh->uv[set].push_back(
              has ? Float2{finite(part->mTextureCoords[set][v].x), finite(part->mTextureCoords[set][v].y)}
                  : Float2{});
        }
        if (!colors) continue;
        const aiColor4D white(1, 1, 1, 1);
        const aiColor4D& c = part->HasVertexColors(0) ? part->mColors[0][v] : white;
        mesh->colors.push_back({finite(c.r), finite(c.g), finite(c.b), finite(c.a)});
      }
      addTriangles(*part, first, *mesh);
      materials.push_back(materials_.identity(part->mMaterialIndex));
    }
    setBounds(*mesh);
    return mesh;
  }

  static void addTriangles(const aiMesh& part, std::uint32_t first, Mesh& mesh) {
    MeshGroup group{static_cast<std::uint32_t>(mesh.triangles.size()), 0};
    for (unsigned f = 0; f < part.mNumFaces; ++f) {
      const aiFace& face = part.mFaces[f];
      if (face.mNumIndices != 3) continue;
      const unsigned* i = face.mIndices;
      if (i[0] >= part.mNumVertices || i[1] >= part.mNumVertices || i[2] >= part.mNumVertices) continue;
      mesh.triangles.push_back({i[0] + first, i[1] + first, i[2] + first});
    }
    group.triangleCount = static_cast<std::uint32_t>(mesh.triangles.size()) - group.firstTriangle;
    mesh.groups.push_back(group);
  }

  // --- nodes ---

  // Leaves out a root without content and transformation.
  void addTop(const aiNode& root) {
    if (root.mNumMeshes == 0 && root.mTransformation.IsIdentity() && root.mNumChildren > 0) {
      for (unsigned i = 0; i < root.mNumChildren; ++i)
        addNode(*root.mChildren[i], document_->children, 1);
      return;
    }
    addNode(root, document_->children, 1);
  }

  void addNode(const aiNode& node, NodeList& list, int depth) {
    if (depth > context_.options.limits.depth) throw SceneError("its objects are nested too deeply");
    ++done_;
    context_.progress(0.7 + 0.3 * static_cast<double>(done_) / static_cast<double>(done_ + 20));
    ObjectState* object = makeObject(node.mNumMeshes > 0 ? Opolygon : Onull);
    list.append(*object);
    object->name = String(node.mName.C_Str());
    object->local = matrixOf(node.mTransformation);
    if (!isFinite(object->local)) object->local = Matrix();
    if (node.mNumMeshes > 0) addMesh(node, *object);
    if (const auto found = tracks_.find(node.mName.C_Str()); found != tracks_.end())
      object->tracks = found->second;
    for (unsigned i = 0; i < scene_.mNumCameras; ++i)
      if (scene_.mCameras[i]->mName == node.mName)
        addCamera(*scene_.mCameras[i], i < daeCameras_.size() ? &daeCameras_[i] : nullptr, *object);
    for (unsigned i = 0; i < scene_.mNumLights; ++i)
      if (scene_.mLights[i]->mName == node.mName) addLight(*scene_.mLights[i], *object);
    for (unsigned i = 0; i < node.mNumChildren; ++i)
      addNode(*node.mChildren[i], object->children, depth + 1);
  }

  static bool isFinite(const Matrix& m) {
    const Vector sum = m.off + m.v1 + m.v2 + m.v3;
    return std::isfinite(sum.x) && std::isfinite(sum.y) && std::isfinite(sum.z);
  }

  void addMesh(const aiNode& node, ObjectState& object) {
    std::vector<Identity> materials;
    object.mesh = makeMesh(node, materials);
    for (std::size_t group = 0; group < materials.size(); ++group) {
      if (materials[group] == 0) continue;
      NodeState* tag = makeNode(NodeKind::tag, Ttexture);
      tag->data.SetBaseLink(param::textureMaterial, BaseLink::FromIdentity(materials[group]));
      tag->data.SetLong(param::textureGroup, static_cast<LONG>(group));
      object.tags.append(*tag);
    }
  }

  ObjectState& addChild(LONG type, ObjectState& under, const Vector& position, const Vector& look,
                        const Vector& up) {
    ObjectState* child = makeObject(type);
    child->name = under.name;
    const Vector z = unitVector(-look, {0, 0, 1});
    const Vector x = unitVector(Cross(up, z), std::abs(z.y) < 0.9 ? unitVector(Cross({0, 1, 0}, z), {1, 0, 0})
                                                                  : Vector(1, 0, 0));
    child->local = {position, x, Cross(z, x), z};
    if (!isFinite(child->local)) child->local = Matrix();
    under.children.append(*child);
    under.name += String(" Base"); // so that the name leads to the camera or light
    return *child;
  }

  void addCamera(const aiCamera& camera, const DaeCamera* dae, ObjectState& under) {
    BaseContainer& data =
        addChild(Ocamera, under, vectorOf(camera.mPosition), vectorOf(camera.mLookAt), vectorOf(camera.mUp))
            .data;
    if (dae) return fillCamera(*dae, data);
    const Real aspect = camera.mAspect > 0 && std::isfinite(camera.mAspect) ? camera.mAspect : 16.0 / 9;
    data.SetLong(param::cameraProjection, camera.mOrthographicWidth > 0 ? 1 : 0);
    if (camera.mOrthographicWidth > 0) data.SetReal(param::cameraYmag, camera.mOrthographicWidth / aspect);
    const Real wide =
        std::isfinite(camera.mHorizontalFOV) ? std::clamp<Real>(camera.mHorizontalFOV, 0.01, 3) : 0.8;
    data.SetReal(param::cameraYfov, 2 * std::atan(std::tan(wide / 2) / aspect));
    if (camera.mClipPlaneNear > 0) data.SetReal(param::cameraNear, camera.mClipPlaneNear);
  }

  static void fillCamera(const DaeCamera& dae, BaseContainer& data) {
    const Real aspect = dae.aspect > 0 ? dae.aspect : 16.0 / 9;
    const bool flat = dae.xmag > 0 || dae.ymag > 0;
    data.SetLong(param::cameraProjection, flat ? 1 : 0);
    if (flat) data.SetReal(param::cameraYmag, dae.ymag > 0 ? dae.ymag : dae.xmag / aspect);
    const Real fromWidth =
        dae.xfov > 0 && dae.xfov < 3.1 ? 2 * std::atan(std::tan(dae.xfov / 2) / aspect) : 0.8;
    if (!flat) data.SetReal(param::cameraYfov, dae.yfov > 0 && dae.yfov < 3.1 ? dae.yfov : fromWidth);
    if (dae.near > 0) data.SetReal(param::cameraNear, dae.near);
  }

  void addLight(const aiLight& light, ObjectState& under) {
    const Vector color(light.mColorDiffuse.r, light.mColorDiffuse.g, light.mColorDiffuse.b);
    const Real most = std::max({color.x, color.y, color.z});
    const bool distant = light.mType == aiLightSource_DIRECTIONAL;
    if (!(most > 0) || !std::isfinite(most) ||
        (light.mType != aiLightSource_POINT && light.mType != aiLightSource_SPOT && !distant))
      return;
    BaseContainer& data =
        addChild(Olight, under, vectorOf(light.mPosition), vectorOf(light.mDirection), {0, 1, 0}).data;
    data.SetLong(param::lightKind, light.mType == aiLightSource_SPOT ? 1 : distant ? 2 : 0);
    data.SetVector(param::lightColor, color * (1 / most));
    const Real fall = light.mAttenuationQuadratic;
    data.SetReal(param::lightIntensity, !distant && fall > 0 && std::isfinite(fall) ? most / fall : most);
    if (light.mType != aiLightSource_SPOT) return;
    data.SetReal(param::lightInnerCone, std::clamp<Real>(light.mAngleInnerCone / 2, 0, 1.5));
    data.SetReal(param::lightOuterCone, std::clamp<Real>(light.mAngleOuterCone / 2, 0.01, 1.57));
  }

  // --- animation ---

  void readAnimations() {
    for (unsigned a = 0; a < scene_.mNumAnimations; ++a) {
      const aiAnimation& animation = *scene_.mAnimations[a];
      document_->animationNames.emplace_back(animation.mName.C_Str());
      const double rate = animation.mTicksPerSecond > 0 ? animation.mTicksPerSecond : 25;
      for (unsigned c = 0; c < animation.mNumChannels; ++c)
        readChannel(*animation.mChannels[c], a, rate);
    }
  }

  void readChannel(const aiNodeAnim& channel, unsigned animation, double rate) {
    Tracks tracks;
    const auto add = [&](TrackPath path, unsigned count, std::uint32_t width, auto timeAt, auto valueAt) {
      auto curve = std::make_shared<Curve>();
      curve->width = width;
      for (unsigned k = 0; k < count; ++k) {
        curve->times.push_back(finite(static_cast<float>(timeAt(k) / rate)));
        for (const float number : valueAt(k))
          curve->values.push_back(finite(number));
      }
      if (count > 0 && std::is_sorted(curve->times.begin(), curve->times.end()))
        tracks.push_back({path, animation, std::move(curve)});
    };
    const auto three = [](const aiVector3D& v) { return std::vector<float>{v.x, v.y, v.z}; };
    add(
        TrackPath::translation, channel.mNumPositionKeys, 3,
        [&](unsigned k) { return channel.mPositionKeys[k].mTime; },
        [&](unsigned k) { return three(channel.mPositionKeys[k].mValue); });
    add(
        TrackPath::rotation, channel.mNumRotationKeys, 4,
        [&](unsigned k) { return channel.mRotationKeys[k].mTime; },
        [&](unsigned k) {
          const aiQuaternion& q = channel.mRotationKeys[k].mValue;
          return std::vector<float>{q.x, q.y, q.z, q.w};
        });
    add(
        TrackPath::scale, channel.mNumScalingKeys, 3,
        [&](unsigned k) { return channel.mScalingKeys[k].mTime; },
        [&](unsigned k) { return three(channel.mScalingKeys[k].mValue); });
    if (!tracks.empty())
      tracks_.try_emplace(channel.mNodeName.C_Str(), std::make_shared<const Tracks>(std::move(tracks)));
  }

  const aiScene& scene_;
  std::vector<DaeCamera> daeCameras_; // as many as the scene's cameras, or empty
  LoadContext& context_;
  AssimpMaterials materials_;
  NodePtr<DocumentState> document_;
  std::map<std::string, TracksPtr> tracks_;
  std::size_t done_ = 0;
};

NodePtr<DocumentState> importFile(const Filename& file, std::span<const std::byte> bytes,
                                  LoadContext& context) {
  const std::string path = file.GetString().GetUTF8();
  context.progress(0.1);
  Assimp::Importer importer;
  importer.SetIOHandler(new FolderSystem(path)); // the importer owns it
  importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_PRESERVE_PIVOTS, false);
  importer.SetPropertyFloat(AI_CONFIG_PP_GSN_MAX_SMOOTHING_ANGLE, 50.0F);
  importer.SetPropertyInteger(AI_CONFIG_PP_SBP_REMOVE, aiPrimitiveType_POINT | aiPrimitiveType_LINE);
  const aiScene* scene = importer.ReadFile(path, aiProcess_Triangulate | aiProcess_GenSmoothNormals |
                                                     aiProcess_JoinIdenticalVertices | aiProcess_SortByPType |
                                                     aiProcess_FindInvalidData | aiProcess_FlipUVs |
                                                     aiProcess_GlobalScale | aiProcess_ValidateDataStructure);
  if (!scene || (scene->mFlags & AI_SCENE_FLAGS_INCOMPLETE) != 0) {
    std::string why = importer.GetErrorString();
    std::replace(why.begin(), why.end(), '\n', ' ');
    throw SceneError("its content cannot be read" + (why.empty() ? "" : " (" + why.substr(0, 160) + ")"));
  }
  context.progress(0.7);
  std::vector<DaeCamera> cameras;
  if (file.CheckSuffix("dae"))
    cameras = readDaeCameras({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  if (cameras.size() != scene->mNumCameras) cameras.clear();
  const Filename folder = file.GetDirectory().Content() ? file.GetDirectory() : Filename(".");
  return Converter(*scene, std::move(cameras), folder, context).convert();
}

class Importer final : public SceneImporter {
 public:
  NodePtr<DocumentState> import(const Filename& file, std::span<const std::byte> bytes,
                                LoadContext& context) const override {
    return importFile(file, bytes, context);
  }
};

} // namespace
} // namespace host

void* lumenara_part_import() {
  static host::Importer importer;
  return static_cast<host::SceneImporter*>(&importer);
}

#include "gl_material.h"

#include <array>

#include "gl_sources.h"

namespace host::render {
namespace {

constexpr std::size_t mostConstants = 64;

// Writes a material's shader trees as program text.
class TreeWriter {
 public:
  TreeWriter(GlMaterial& out, int units, const FindTexture& find)
      : out_(out), slots_(static_cast<std::size_t>(std::max(0, units - firstMaterialUnit))), find_(find) {}

  void channel(const char* name, const Shade* shade, ColorSpace space) {
    const std::string value = shade ? node(*shade, space) : "vec4(1.0)";
    functions_ += std::string("vec4 ") + name + "(vec2 uv0, vec2 uv1) { return " + value + "; }\n";
  }

  std::string text() const {
    std::string head =
        "uniform vec4 uShade[" + std::to_string(std::max<std::size_t>(1, out_.constants.size())) + "];\n";
    for (std::size_t i = 0; i < out_.textures.size(); ++i) {
      const std::string n = std::to_string(i);
      head += "uniform sampler2D uTexture" + n + ";\nuniform vec4 uTurn" + n + ";\nuniform vec2 uMove" + n +
              ";\n";
    }
    return head + functions_;
  }

 private:
  std::string constant(const Float4& v) {
    if (out_.constants.size() >= mostConstants) {
      std::string text = "vec4(";
      for (const float c : v)
        text += std::to_string(c) + ",";
      text.back() = ')';
      return text;
    }
    out_.constants.push_back(v);
    return "uShade[" + std::to_string(out_.constants.size() - 1) + "]";
  }

  std::string node(const Shade& shade, ColorSpace space) {
    switch (shade.kind) {
    case ShadeKind::color:
      break;
    case ShadeKind::bitmap:
      return bitmap(shade, space);
    case ShadeKind::ambientOcclusion:
      return constant({shade.aoBright[0], shade.aoBright[1], shade.aoBright[2], 1});
    case ShadeKind::fusion:
    case ShadeKind::layer:
      return stack(shade, space);
    }
    return constant(shade.color);
  }

  std::string bitmap(const Shade& shade, ColorSpace space) {
    const PicturePtr& picture = shade.texture.picture;
    const TexturePtr texture = picture ? find_(picture, spaceOf(shade.texture, space)) : nullptr;
    const Float4 &c = shade.color, &b = shade.bias;
    if (!texture) return constant({c[0] + b[0], c[1] + b[1], c[2] + b[2], c[3] + b[3]});
    if (out_.textures.size() >= slots_) {
      const Rgba mean = texture->texel(texture->levelCount() - 1, 0, 0);
      return constant(
          {c[0] * mean.r + b[0], c[1] * mean.g + b[1], c[2] * mean.b + b[2], c[3] * mean.a + b[3]});
    }
    const std::string n = std::to_string(out_.textures.size());
    out_.textures.push_back({picture->id, texture, shade.texture});
    const char* uv = shade.texture.uvSet == 1 ? "uv1" : "uv0";
    const std::string weak = b == Float4{0, 0, 0, 0} ? "" : " + " + constant(b);
    return "(" + constant(c) + " * texture(uTexture" + n + ", placed(uTurn" + n + ", uMove" + n + ", " + uv +
           "))" + weak + ")";
  }

  // Each stack is a function of its own, after those of its children.
  std::string stack(const Shade& shade, ColorSpace space) {
    std::string body;
    bool first = true;
    for (const ShadePtr& child : shade.children) {
      if (!child) continue;
      const std::string value = node(*child, space);
      const std::string amount = constant({clamp01(child->amount), 0, 0, 0}) + ".x";
      const int how = first ? 0 : static_cast<int>(child->mix);
      body += "  v = putOnto(v, " + value + ", " + std::to_string(how) + ", " + amount + ", " +
              (first ? "true" : "false") + ");\n";
      first = false;
    }
    if (first) return constant(shade.color);
    const std::string name = "stack" + std::to_string(stacks_++);
    functions_ +=
        "vec4 " + name + "(vec2 uv0, vec2 uv1) {\n  vec4 v = vec4(0.0);\n" + body + "  return v;\n}\n";
    return name + "(uv0, uv1)";
  }

  GlMaterial& out_;
  std::size_t slots_;
  const FindTexture& find_;
  std::string functions_;
  int stacks_ = 0;
};

// About a texel of the bump picture, in texture coordinates.
float bumpStep(const Shade* shade, const FindTexture& find) {
  if (!shade || shade->kind != ShadeKind::bitmap || !shade->texture.picture) return 1e-3f;
  const TexturePtr texture = find(shade->texture.picture, spaceOf(shade->texture, ColorSpace::data));
  if (!texture) return 1e-3f;
  const Float2& scale = shade->texture.scale;
  const float span = std::max(1e-6f, std::max(std::abs(scale[0]), std::abs(scale[1])));
  return 1 / (span * static_cast<float>(std::max(texture->width(), texture->height())));
}

bool bendsNormals(const Shade* shade) {
  return shade && shade->kind != ShadeKind::color && shade->kind != ShadeKind::ambientOcclusion;
}

} // namespace

GlMaterial makeGlMaterial(const SurfaceMaterial& m, const RenderSettings& settings, int units,
                          const FindTexture& find) {
  GlMaterial out;
  TreeWriter writer(out, units, find);
  writer.channel("baseAt", m.baseColorShade.get(), ColorSpace::srgb);
  writer.channel("normalAt", m.normalShade.get(), ColorSpace::data);
  writer.channel("metallicRoughnessAt", m.metallicRoughnessShade.get(), ColorSpace::data);
  writer.channel("emissionAt", m.emissionShade.get(), ColorSpace::srgb);
  writer.channel("occlusionAt", m.occlusionShade.get(), ColorSpace::data);
  writer.channel("transmissionAt", m.transmissionShade.get(), ColorSpace::data);
  writer.channel("bumpAt", m.bumpShade.get(), ColorSpace::data);
  writer.channel("specularAt", m.specularShade.get(), ColorSpace::data);
  writer.channel("specularColorAt", m.specularColorShade.get(), ColorSpace::srgb);
  writer.channel("coatAt", m.clearcoatShade.get(), ColorSpace::data);
  writer.channel("coatRoughnessAt", m.clearcoatRoughnessShade.get(), ColorSpace::data);
  std::string defines = "#version 330 core\n";
  const auto set = [](const Shade* shade) {
    return std::string(shade && shade->kind == ShadeKind::bitmap && shade->texture.uvSet == 1 ? " 1\n"
                                                                                              : " 0\n");
  };
  defines += "#define NORMAL_SET" + set(m.normalShade.get()) + "#define BUMP_SET" + set(m.bumpShade.get());
  if (bendsNormals(m.normalShade.get())) defines += "#define NORMAL_MAP\n";
  if (bendsNormals(m.bumpShade.get()) && m.bumpStrength != 0) defines += "#define BUMP_MAP\n";
  if (m.clearcoat > 0) defines += "#define COAT\n";
  out.fragment = defines + "const int mostLights = " + std::to_string(mostGlLights) + ";\n" + glSkySource +
                 glShadeSource + writer.text() + glSurfaceSource;

  const float sharp = settings.blurry ? 1.0f : 0.0f; // roughness counts as 0 without blurriness
  const bool transmits = m.transmission > 0 && settings.transparency && !m.unlit;
  out.values = {
      {{m.baseColor[0], m.baseColor[1], m.baseColor[2], m.baseColor[3]},
       {m.metallic, m.roughness * sharp, clamp01(m.occlusionStrength), m.normalScale},
       {m.emission[0], m.emission[1], m.emission[2], m.alphaCutoff},
       {transmits ? m.transmission : 0, m.ior, m.specular, m.bumpStrength},
       {m.specularColor[0], m.specularColor[1], m.specularColor[2], bumpStep(m.bumpShade.get(), find)},
       {m.clearcoat, m.clearcoatRoughness * sharp, m.doubleSided ? 1.0f : 0.0f, 0}}};
  out.how = {static_cast<int>(m.alphaMode), m.colorOn, m.reflectionOn && settings.reflection, m.unlit};
  out.blended = m.alphaMode == AlphaMode::blend || transmits;
  out.oneSided = !m.doubleSided && !transmits;
  return out;
}

std::string surfaceVertexSource() {
  return glSurfaceVertexSource;
}
std::string skyVertexSource() {
  return glSkyVertexSource;
}
std::string skyFragmentSource() {
  return std::string("#version 330 core\n") + glSkySource + glSkyFragmentSource;
}

} // namespace host::render

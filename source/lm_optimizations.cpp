// The render thread's scene optimizations: they simplify the clone before it is rendered.

#include "lm_keys.h"
#include "lm_thread.h"

void lmThread::FindObjects(BaseDocument* doc, LONG keepObjects, LONG flag) {
  if (keepObjects && flag) return;
  SearchObjects(doc->GetFirstObject(), keepObjects, flag);
}

LONG lmThread::SearchObjects(BaseObject* first, LONG keepObjects, LONG flag) {
  for (BaseObject* object = first; object; object = object->GetNext()) {
    if (TestBreak()) break;
    // The object stays in the scene and keeps its children; only its generator effect is off.
    if (object->GetType() == Osds && !keepObjects) object->SetDeformMode(FALSE);
    SearchObjects(object->GetDown(), keepObjects, flag);
  }
  return 0;
}

namespace {

/// A settings key and the material parameter that it switches, in the order in which they are applied. The
/// pairing of 15034, and of those after it, is out of sequence on purpose.
struct MaterialSwitch {
  LONG key;
  LONG parameter;
};

constexpr MaterialSwitch MATERIAL_SWITCHES[] = {
    {LM_OPT_MAT_15026, 2000}, {LM_OPT_MAT_15027, 2001}, {LM_OPT_MAT_15028, 2002}, {LM_OPT_MAT_15029, 2003},
    {LM_OPT_MAT_15030, 2004}, {LM_OPT_MAT_15031, 2005}, {LM_OPT_MAT_15032, 2006}, {LM_OPT_MAT_15033, 2007},
    {LM_OPT_MAT_15034, 2013}, {LM_OPT_MAT_15035, 2008}, {LM_OPT_MAT_15036, 2009}, {LM_OPT_MAT_15037, 2010},
    {LM_OPT_MAT_15038, 2011}, {LM_OPT_MAT_15039, 2012},
};

/// The channels that carry a shader.
constexpr LONG SHADER_CHANNELS[] = {0, 1, 2, 3, 4, 6, 7, 9, 11, 12, 13};

} // namespace

void lmThread::FixMaterials(BaseDocument* doc) {
  Bool allOn = TRUE;
  for (const MaterialSwitch& entry : MATERIAL_SWITCHES) {
    if (!settings->GetValue(entry.key, 1)) allOn = FALSE;
  }
  if (allOn) return;

  for (BaseMaterial* material = doc->GetFirstMaterial(); material; material = material->GetNext()) {
    for (const MaterialSwitch& entry : MATERIAL_SWITCHES) {
      if (!settings->GetValue(entry.key, 1))
        material->SetParameter(entry.parameter, GeData(static_cast<LONG>(0)));
    }
  }
}

void lmThread::FixShaders(BaseDocument* doc) {
  if (settings->GetValue(LM_OPT_SHADERS, 1)) return;

  for (BaseMaterial* material = doc->GetFirstMaterial(); material; material = material->GetNext()) {
    for (const LONG id : SHADER_CHANNELS) {
      BaseChannel* channel = material->GetChannel(id);
      if (channel) SearchShaders(channel->GetShader());
    }
  }
}

LONG lmThread::SearchShaders(BaseShader* first) {
  BaseShader* next = nullptr;
  for (BaseShader* shader = first; shader; shader = next) {
    if (TestBreak()) break;
    next = shader->GetNext();
    if (shader->GetType() == Xambientocclusion && !settings->GetValue(LM_OPT_SHADERS, 1)) {
      shader->Remove();
      BaseShader::Free(shader);
    } else {
      SearchShaders(shader->GetDown());
    }
  }
  return 0;
}

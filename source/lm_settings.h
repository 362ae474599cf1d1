// The settings store.
#pragma once

#include "c4d.h"

/// A settings container bound to an ID in the host's world plug-in data, and copied to and from there. All
/// instances of an ID share the stored values; an instance sees the changes of another after a `Load`. Loads
/// and saves on the main thread only; the render thread reads values from the viewer's instance.
class lmSettings {
 public:
  lmSettings() = default;
  lmSettings(const lmSettings&) = delete;
  lmSettings& operator=(const lmSettings&) = delete;

  /// The instance's own container.
  virtual BaseContainer* GetDataInstance();
  /// Binds the instance; 0 is unbound.
  virtual void Init(LONG id);
  /// Merges the container into the stored one. False when unbound.
  virtual Bool Save();
  /// Overlays the container with the stored values. False when unbound or nothing is stored; the container
  /// then stays unchanged.
  virtual Bool Load();
  virtual ~lmSettings() = default;

  // Set the value in the container; nothing is saved.
  void SetValue(LONG key, LONG value) { data.SetLong(key, value); }
  void SetValue(LONG key, LLONG value) { data.SetLLong(key, value); }
  void SetValue(LONG key, Real value) { data.SetReal(key, value); }
  void SetValue(LONG key, const String& value) { data.SetString(key, value); }
  void SetValue(LONG key, const Filename& value) { data.SetFilename(key, value); }
  void SetValue(LONG key, const LVector& value) { data.SetVector(key, value); }
  void SetValue(LONG key, const BaseContainer& value) { data.SetContainer(key, value); }

  // The container's value, or the preset when the key is absent.
  LONG GetValue(LONG key, LONG preset) const { return data.GetLong(key, preset); }
  LLONG GetValue(LONG key, LLONG preset) const { return data.GetLLong(key, preset); }
  Real GetValue(LONG key, Real preset) const { return data.GetReal(key, preset); }
  String GetValue(LONG key, const String& preset) const { return data.GetString(key, preset); }
  Filename GetValue(LONG key, const Filename& preset) const { return data.GetFilename(key, preset); }
  LVector GetValue(LONG key, const LVector& preset) const { return data.GetVector(key, preset); }

  /// A copy of the nested container; empty when absent.
  BaseContainer GetContainer(LONG key) const { return data.GetContainer(key); }

 private:
  LONG id = 0;
  BaseContainer data;
};

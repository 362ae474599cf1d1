// Documents and their nodes: objects, tags, materials, shaders, render data, video posts, views.
// One thread at a time uses a document and its nodes: the main thread the user's documents, any thread the
// clone that it made. Every node has a 64-bit identity, never reused; a document clone keeps identities, a
// node's clone gets a new one.
#pragma once

#include "c4d_container.h"
#include "c4d_file.h"
#include "c4d_threading.h"

class BaseChannel;
class BaseDocument;
class BaseDraw;
class BaseMaterial;
class BaseObject;
class BaseShader;
class BaseTag;
class BaseVideoPost;
class RenderData;

enum COPYFLAGS { COPYFLAGS_0 = 0, COPYFLAGS_NO_HIERARCHY = 4, COPYFLAGS_NO_ANIMATION = 8 };
enum BUILDFLAGS { BUILDFLAGS_0 = 0, BUILDFLAGS_EXTERNALRENDERER = 4 };
/// Bits of a node: selected; a video post that is switched off.
inline constexpr LONG BIT_ACTIVE = 2;
inline constexpr LONG BIT_VPDISABLED = 4;

// Node types. O: objects (every object is an instance of Obase), T: tags, M: materials, X: shaders, VP: video
// posts.
inline constexpr LONG Obase = 5155;
inline constexpr LONG Opolygon = 5100;
inline constexpr LONG Olight = 5102;
inline constexpr LONG Ocamera = 5103;
inline constexpr LONG Ofloor = 5104;
inline constexpr LONG Osky = 5105;
inline constexpr LONG Onull = 5140;
inline constexpr LONG Osds = 1007455;
inline constexpr LONG Tphong = 5612;
inline constexpr LONG Ttexture = 5616;
inline constexpr LONG Tprotection = 5629;
inline constexpr LONG Tcompositing = 5637;
inline constexpr LONG Tuvw = 5671;
inline constexpr LONG Ttargetexpression = 5676;
inline constexpr LONG Taligntopath = 5699;
inline constexpr LONG Taligntospline = 5700;
inline constexpr LONG Mmaterial = 5703;
inline constexpr LONG Xcolor = 5832;
inline constexpr LONG Xbitmap = 5833;
inline constexpr LONG Xambientocclusion = 1001191;
inline constexpr LONG Xfusion = 1011109;
inline constexpr LONG Xlayer = 1011123;
inline constexpr LONG VPglobalillumination = 1021096;
inline constexpr LONG VPambientocclusion = 300001045;
inline constexpr LONG VPcaustics = 1000970;
inline constexpr LONG VPhair = 1017325;
/// A parameter of expression tags (Bool, TRUE): the expression works.
inline constexpr LONG EXPRESSION_ENABLE = 1000999;

// Channels of a material.
inline constexpr LONG CHANNEL_COLOR = 0;
inline constexpr LONG CHANNEL_LUMINANCE = 1;
inline constexpr LONG CHANNEL_TRANSPARENCY = 2;
inline constexpr LONG CHANNEL_REFLECTION = 3;
inline constexpr LONG CHANNEL_ENVIRONMENT = 4;
inline constexpr LONG CHANNEL_FOG = 5;
inline constexpr LONG CHANNEL_BUMP = 6;
inline constexpr LONG CHANNEL_ALPHA = 7;
inline constexpr LONG CHANNEL_SPECULAR = 8;
inline constexpr LONG CHANNEL_SPECULARCOLOR = 9;
inline constexpr LONG CHANNEL_GLOW = 10;
inline constexpr LONG CHANNEL_DISPLACEMENT = 11;
inline constexpr LONG CHANNEL_DIFFUSION = 12;
inline constexpr LONG CHANNEL_NORMAL = 13;

/// A node: type, name, bits, a container of parameters, a place in a list or tree.
class C4D_API BaseList2D {
 public:
  LONG GetType() const;
  Bool IsInstanceOf(LONG type) const;
  String GetName() const;
  void SetName(const String& name);
  ULLONG GetIdentity() const;        // (ours)
  BaseDocument* GetDocument() const; // null while it is outside a document

  Bool GetBit(LONG mask) const;
  void SetBit(LONG mask);
  void DelBit(LONG mask);

  /// The parameters that the node stores. The instance may be written in place.
  BaseContainer GetData() const;
  BaseContainer* GetDataInstance();
  const BaseContainer* GetDataInstance() const;
  void SetData(const BaseContainer& data, Bool add = TRUE);
  /// A parameter, with the type's default where the container has no entry. False when the node does not know
  /// the ID.
  Bool GetParameter(LONG id, GeData& value) const;
  Bool SetParameter(LONG id, const GeData& value);

  /// A copy with a new identity, in no document; null when memory is short. The caller frees it.
  BaseList2D* GetClone(COPYFLAGS flags = COPYFLAGS_0) const;
  /// Takes the node out of its list; the caller owns it from then on.
  void Remove();

  // The node's shaders; materials and shaders have them.
  BaseShader* GetFirstShader() const;
  void InsertShader(BaseShader* shader, BaseShader* after = nullptr);

 protected:
  friend struct host::Access;
  explicit BaseList2D(host::NodeState* state);
  ~BaseList2D();
  BaseList2D(const BaseList2D&) = delete;
  BaseList2D& operator=(const BaseList2D&) = delete;
  BaseList2D* Next() const;
  BaseList2D* Pred() const;
  BaseList2D* Up() const;
  BaseList2D* Down() const;
  host::NodeState* state_;
};

class C4D_API BaseTag : public BaseList2D {
 public:
  static BaseTag* Alloc(LONG type);
  static void Free(BaseTag*& tag);
  BaseTag* GetNext() const;
  BaseTag* GetPred() const;
  BaseObject* GetObject() const;

 private:
  friend struct host::Access;
  using BaseList2D::BaseList2D;
  ~BaseTag() = default;
};

class C4D_API BaseObject : public BaseList2D {
 public:
  /// Null when the type is unknown or memory is short.
  static BaseObject* Alloc(LONG type);
  static void Free(BaseObject*& object); // with its children and tags

  BaseObject* GetNext() const;
  BaseObject* GetPred() const;
  BaseObject* GetUp() const;
  BaseObject* GetDown() const;
  void InsertUnder(BaseObject* parent); // as its first child
  void InsertUnderLast(BaseObject* parent);
  void InsertAfter(BaseObject* sibling);
  void InsertBefore(BaseObject* sibling);

  /// Whether a generator or deformer works (default TRUE).
  Bool GetDeformMode() const;
  void SetDeformMode(Bool on);

  /// The local matrix (relative to the parent) and the global one, in metres. Axes carry the scale.
  Matrix GetMl() const;
  void SetMl(const Matrix& m);
  Matrix GetMg() const;
  void SetMg(const Matrix& m);

  BaseTag* GetFirstTag() const;
  BaseTag* GetTag(LONG type, LONG index = 0) const;
  /// Makes a tag of the type, after `after` (null: first); null when the type is unknown.
  BaseTag* MakeTag(LONG type, BaseTag* after = nullptr);
  void InsertTag(BaseTag* tag, BaseTag* after = nullptr);

 private:
  friend struct host::Access;
  using BaseList2D::BaseList2D;
  ~BaseObject() = default;
};

class C4D_API BaseShader : public BaseList2D {
 public:
  static BaseShader* Alloc(LONG type);
  static void Free(BaseShader*& shader); // with its children
  BaseShader* GetNext() const;
  BaseShader* GetPred() const;
  BaseShader* GetUp() const;
  BaseShader* GetDown() const;

 private:
  friend struct host::Access;
  using BaseList2D::BaseList2D;
  ~BaseShader() = default;
};

/// A channel of a material, valid as long as the material.
class C4D_API BaseChannel {
 public:
  LONG GetId() const noexcept { return id_; }
  /// The channel's top shader; null without one.
  BaseShader* GetShader() const;
  /// Makes `shader`, which must belong to the material, the channel's; null takes it away.
  Bool SetShader(BaseShader* shader);

 private:
  friend struct host::Access;
  BaseChannel() = default;
  BaseMaterial* material_ = nullptr;
  LONG id_ = 0;
};

class C4D_API BaseMaterial : public BaseList2D {
 public:
  static BaseMaterial* Alloc(LONG type);
  static void Free(BaseMaterial*& material);
  BaseMaterial* GetNext() const;
  BaseMaterial* GetPred() const;
  /// One of CHANNEL_...; null for others.
  BaseChannel* GetChannel(LONG id);

 private:
  friend struct host::Access;
  using BaseList2D::BaseList2D;
  ~BaseMaterial() = default;
};

class C4D_API BaseVideoPost : public BaseList2D {
 public:
  static BaseVideoPost* Alloc(LONG type);
  static void Free(BaseVideoPost*& post);
  BaseVideoPost* GetNext() const;
  BaseVideoPost* GetPred() const;

 private:
  friend struct host::Access;
  using BaseList2D::BaseList2D;
  ~BaseVideoPost() = default;
};

/// Render settings: the container holds RDATA_... (c4d_render.h).
class C4D_API RenderData : public BaseList2D {
 public:
  static RenderData* Alloc();
  static void Free(RenderData*& data);
  RenderData* GetNext() const;
  RenderData* GetPred() const;
  BaseVideoPost* GetFirstVideoPost() const;
  void InsertVideoPost(BaseVideoPost* post, BaseVideoPost* after = nullptr);
  void InsertVideoPostLast(BaseVideoPost* post);

 private:
  friend struct host::Access;
  using BaseList2D::BaseList2D;
  ~RenderData() = default;
};

/// An editor view. It belongs to its document.
class C4D_API BaseDraw : public BaseList2D {
 public:
  /// The camera object that the view looks through; null when it looks through its own camera.
  /// `document` null means the view's own.
  BaseObject* GetSceneCamera(const BaseDocument* document) const;
  void SetSceneCamera(BaseObject* camera, Bool animate = FALSE);
  /// The view's own camera, always there. It heads a list outside the object tree: nodes inserted after it
  /// belong to the document and resolve there.
  BaseObject* GetEditorCamera() const;

  /// The part of the view's window that a render in the document's format shows, to the nearest pixel: left
  /// and top in the window's logical pixels, right and bottom behind the last one. The darkened surround
  /// belongs to no frame. Drawing and mouse positions count from the frame's upper left corner, and the
  /// camera's vertical angle spans its height.
  void GetFrame(LONG* left, LONG* top, LONG* right, LONG* bottom) const;
  /// The safe part of the frame, counted from its corner. Orientation 1: bars left and right, `from` and `to`
  /// are x; 2: bars above and below, they are y; 0: no bars, they are 0 and the frame's width. Views of the
  /// program have orientation 0.
  void GetSafeFrame(LONG* from, LONG* to, LONG* orientation) const;

  // Drawing over the picture, in the frame's logical pixels: for scene hooks, during `Draw`, after
  // `SetMatrix_Screen`. Elsewhere these calls do nothing.

  /// Draws in screen space from now on; greater offsets lie behind smaller ones (0 in front).
  void SetMatrix_Screen(LONG zoffset = 0);
  /// The colour of later lines and points; at first black.
  void SetPen(const Vector& color);
  /// A line one pixel wide, both ends included; z is ignored. Coordinates are rounded down to pixels.
  void DrawLine2D(Vector from, Vector to);
  void DrawPoint2D(Vector at);

 private:
  friend struct host::Access;
  using BaseList2D::BaseList2D;
  ~BaseDraw() = default;
};

class C4D_API BaseDocument : public BaseList2D {
 public:
  static BaseDocument* Alloc();
  static void Free(BaseDocument*& document);

  /// A copy that keeps identities and shares geometry, pictures and tracks; null when memory is short. It has
  /// no scene hooks.
  BaseDocument* GetClone(COPYFLAGS flags) const;

  BaseObject* GetFirstObject() const;
  void InsertObject(BaseObject* object, BaseObject* parent, BaseObject* pred);
  /// The first object of this name, depth first in document order; null without one.
  BaseObject* SearchObject(const String& name) const;
  BaseMaterial* GetFirstMaterial() const;
  void InsertMaterial(BaseMaterial* material, BaseMaterial* pred = nullptr);
  BaseMaterial* SearchMaterial(const String& name) const;

  RenderData* GetFirstRenderData() const;
  RenderData* GetActiveRenderData() const;
  void SetActiveRenderData(RenderData* data);
  void InsertRenderData(RenderData* data, RenderData* pred = nullptr);
  void InsertRenderDataLast(RenderData* data);

  BaseDraw* GetActiveBaseDraw() const;
  BaseDraw* GetRenderBaseDraw() const;

  BaseTime GetTime() const;
  void SetTime(const BaseTime& time);
  LONG GetFps() const;
  void SetFps(LONG fps); // frames a second, 1 to 1000; 30 in new documents
  BaseTime GetMinTime() const;
  void SetMinTime(const BaseTime& time);
  BaseTime GetMaxTime() const;
  void SetMaxTime(const BaseTime& time);
  BaseTime GetLoopMinTime() const; // the preview range
  void SetLoopMinTime(const BaseTime& time);
  BaseTime GetLoopMaxTime() const;
  void SetLoopMaxTime(const BaseTime& time);

  /// Level of detail, 0 to 1 (default 1).
  Real GetLOD() const;
  void SetLOD(Real lod);

  Filename GetDocumentName() const; // without the folder
  void SetDocumentName(const Filename& name);
  Filename GetDocumentPath() const; // the folder
  void SetDocumentPath(const Filename& path);

  Bool GetChanged() const;
  void SetChanged();

  /// Evaluates the document at its time: tracks, then expressions, then (with `caches`) generators and
  /// deformers. False after a break.
  Bool ExecutePasses(BaseThread* thread, Bool animation, Bool expressions, Bool caches, BUILDFLAGS flags);

 private:
  friend struct host::Access;
  using BaseList2D::BaseList2D;
  ~BaseDocument() = default;
};

/// The document that the user works on; null without one. Any thread: a call from another thread than the
/// main one keeps the document until that thread ends.
C4D_API BaseDocument* GetActiveDocument();

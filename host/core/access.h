// The host's way into the private parts of interface classes. Only the host includes it.
#pragma once

#include <memory>
#include <utility>

#include "c4d.h"

namespace host {

struct Access {
  // Nodes: the interface object is the node, its state belongs to host/scene.
  static NodeState* state(const BaseList2D* node) noexcept { return node ? node->state_ : nullptr; }
  template <class Node>
  static Node* make(NodeState* state) {
    return new Node(state);
  }
  template <class Node>
  static void destroy(Node* node) noexcept {
    delete node;
  }

  static std::unique_ptr<BaseChannel, void (*)(BaseChannel*)> makeChannel(BaseMaterial* material, LONG id) {
    auto* channel = new BaseChannel;
    channel->material_ = material;
    channel->id_ = id;
    return {channel, [](BaseChannel* c) { delete c; }};
  }
  static BaseMaterial* material(const BaseChannel& channel) noexcept { return channel.material_; }

  static BitmapData*& data(BaseBitmap& bitmap) noexcept { return bitmap.data_; }
  static const BitmapData* data(const BaseBitmap& bitmap) noexcept { return bitmap.data_; }
  static std::atomic<ULONG>* pixels(const BaseBitmap& bitmap) noexcept { return bitmap.pixels_; }

  static DialogState* state(const GeDialog& dialog) noexcept { return dialog.state_; }
  static AreaState* state(const GeUserArea& area) noexcept { return area.state_; }
  static void setResult(GeModalDialog& dialog, Bool ok) noexcept { dialog.result_ = ok; }

  // Values: the handles to their storage (container_store.h).
  static std::shared_ptr<const GeDataStore>& store(GeData& data) noexcept { return data.store_; }
  static const std::shared_ptr<const GeDataStore>& store(const GeData& data) noexcept { return data.store_; }
  /// The storage as a reader sees it now. Any thread.
  static std::shared_ptr<const ContainerStore> pin(const BaseContainer& container) noexcept {
    return container.Pin();
  }
  /// On the writing thread.
  static void replace(BaseContainer& container, std::shared_ptr<const ContainerStore> store) noexcept {
    container.Replace(std::move(store));
  }

  /// A render as a video post sees it, for one call.
  struct RenderView : Render {
    explicit RenderView(BaseBitmap* bitmap, const BaseContainer* settings = nullptr) {
      bitmap_ = bitmap;
      settings_ = settings;
    }
  };
};

} // namespace host

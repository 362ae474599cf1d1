// Thumbnails of materials: a sphere on a neutral ground, rendered in the background one at a time (running
// state 5). A preview runs only while nothing waits for a plug-in and the host renders nothing else: before a
// core message, command, dialog timer or user's action reaches a plug-in, the running preview is stopped and
// waited for (MainLoop::giveWay); it starts again when the loop is idle. Once all are ready, and no plug-in
// reports work of its own, they are refined: further passes with other samples join the mean until it is
// clean. Main thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <list>
#include <map>
#include <memory>
#include <vector>

#include "document_hub.h"
#include "document_image.h"
#include "film.h"
#include "host_renders.h"
#include "identity.h"
#include "lifetime.h"

namespace host {

class MaterialPreviews {
 public:
  explicit MaterialPreviews(DocumentHub& hub);
  ~MaterialPreviews(); // stops
  MaterialPreviews(const MaterialPreviews&) = delete;
  MaterialPreviews& operator=(const MaterialPreviews&) = delete;

  /// The thumbnail of a material of the active document, 16 to 512 pixels a side. While it is not ready:
  /// null, or the thumbnail from before the last change; it is then rendered, and `ready` follows.
  std::shared_ptr<const BaseBitmap> preview(Identity material, int size);
  /// Further documents whose materials have thumbnails, which must outlive this. They keep theirs when the
  /// active document is replaced.
  void setSources(std::vector<const BaseDocument*> sources);
  /// Whether the thumbnail shows the material as it is now.
  bool isFresh(Identity material, int size) const;

  bool isRunning() const noexcept;
  std::size_t waiting() const noexcept { return queue_.size(); }
  /// Samples a pixel of a thumbnail; 0 without a thumbnail. Refinement ends at `cleanSamples`.
  LONG samplesOf(Identity material, int size) const;
  static constexpr LONG cleanSamples = 192;
  /// Stops the running preview; it starts again later.
  void stop();
  /// Turns previews off or on.
  void setEnabled(bool on);
  /// Renders all waiting thumbnails and returns when they are ready. For tests and screenshots.
  void finish();

  /// A thumbnail is ready, or has been refined.
  Listeners<Identity> ready;
  /// Counts of stopped and finished previews.
  int stoppedCount() const noexcept { return stopped_; }
  int finishedCount() const noexcept { return finished_; }

 private:
  struct Job;
  struct Key {
    Identity material;
    int size;
    friend auto operator<=>(const Key&, const Key&) = default;
  };
  struct Cached {
    ImagePtr look; // of the material when it was rendered
    std::shared_ptr<const BaseBitmap> bitmap;
    std::uint64_t used = 0;
    std::shared_ptr<Film> mean; // of all passes; null: it cannot be refined
    LONG samples = 0;           // a pixel, in all passes
    LONG told = 0;              // of these when `ready` was called
    int stops = 0;              // passes of its refinement that were stopped
  };

  void want(const Key& key);
  void pursue();
  bool start();
  bool start(const Key& key, LONG samples, LONG seed, bool refines);
  bool refine();
  void ended();
  void stopped(const Job& job);
  void join(const Job& job);
  void documentChanged();
  void forget();
  const NodeState* find(Identity material) const;
  bool isOfSource(Identity material) const;
  ImagePtr lookOf(Identity material, const ImagePtr& previous) const;

  DocumentHub& hub_;
  std::vector<const BaseDocument*> sources_;
  std::map<Key, Cached> cache_;
  std::deque<Key> queue_;
  std::map<Key, int> patience_; // stops of each; it then gets fewer samples
  std::shared_ptr<Job> job_;
  Lifetime<MaterialPreviews> lifetime_{*this}; // for tasks that wait in the loop
  TimerId timer_ = 0;
  std::uint64_t uses_ = 0;
  int stopped_ = 0, finished_ = 0;
  bool enabled_ = true;
  Subscription changedSubscription_, replacedSubscription_;
};

} // namespace host

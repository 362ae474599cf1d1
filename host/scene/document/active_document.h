// The document that the user works on, and its life while other threads use it.
#pragma once

#include "c4d_document.h"

namespace host {

/// Makes a document the active one and takes it over; null for none. The one before is freed as soon as no
/// thread has it pinned. Main thread.
void setActiveDocument(BaseDocument* document);

/// A lock on a document's nodes for a scope: another thread that clones the document sees all the edits made
/// in it or none. Main thread.
class DocumentEdit {
 public:
  explicit DocumentEdit(BaseDocument& document);
  ~DocumentEdit();
  DocumentEdit(const DocumentEdit&) = delete;
  DocumentEdit& operator=(const DocumentEdit&) = delete;

 private:
  BaseDocument& document_;
};

/// Frees a document that nobody else owns; for `std::unique_ptr`.
struct DocumentDeleter {
  void operator()(BaseDocument* document) const noexcept { BaseDocument::Free(document); }
};
using DocumentPtr = std::unique_ptr<BaseDocument, DocumentDeleter>;

} // namespace host

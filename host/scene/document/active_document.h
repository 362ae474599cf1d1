// The document that the user works on, and its lifetime while other threads use it.
#pragma once

#include "c4d_document.h"

namespace host {

/// Makes a document (null: no document) the active one and takes ownership. The former one is freed once no
/// thread has it pinned. Main thread.
void setActiveDocument(BaseDocument* document);

/// A lock on a document's nodes for a scope: another thread that clones the document sees all edits of the
/// scope or none of them. Main thread.
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

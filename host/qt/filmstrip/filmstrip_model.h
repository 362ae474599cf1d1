// The rows of the filmstrip: pictures of this session, kept renders, pictures of the plug-in's history
// folder. Main thread.
#pragma once

#include <QAbstractListModel>
#include <QImage>
#include <map>

#include "session.h"

namespace host {

struct FilmstripItem {
  PictureList::Id picture = 0;  // in the session's list; 0: not there
  RenderHistory::Id entry = 0;  // in the history; 0: not there
  PluginPictures::Picture file; // in the plug-in's folder; an empty file: not there
  QString name, camera, note, scene;
  QSize size;
  qint64 time = 0; // seconds since 1970
  double seconds = 0;
  bool starred = false, running = false;
  bool live = false;            // the film of the viewer: always the first row
  RenderHistory::Id scenes = 0; // the entry with its scene; 0: none

  bool isFile() const { return file.file.Content(); }
  /// Whether both are the same row, maybe with other values.
  bool sameRow(const FilmstripItem& other) const;
};

/// Newest first. A render that the session lists and the history keeps is one row.
class FilmstripModel : public QAbstractListModel {
  Q_OBJECT
 public:
  static constexpr QSize thumbnailSize{96, 60};
  enum Role { starredRole = Qt::UserRole + 1, runningRole };

  explicit FilmstripModel(Session& session, QObject* parent = nullptr);

  const FilmstripItem* at(const QModelIndex& index) const;
  /// -1: it is not among the rows.
  int rowOf(const FilmstripItem& item) const;
  /// Rows whose name, camera, scene or note hold all words of the text; with `starred`, only those with a
  /// star.
  void setFilter(const QString& text, bool starred);
  /// Without the filter.
  int countAll() const { return static_cast<int>(all_.size()); }
  void refresh();

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  bool setData(const QModelIndex& index, const QVariant& value, int role) override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;
  QStringList mimeTypes() const override;
  QMimeData* mimeData(const QModelIndexList& indexes) const override;

 private:
  std::vector<FilmstripItem> collect() const;
  bool passes(const FilmstripItem& item) const;
  QIcon thumbnail(const FilmstripItem& item) const;
  QImage smallPicture(const FilmstripItem& item) const;
  QString details(const FilmstripItem& item) const;

  Session& session_;
  std::vector<FilmstripItem> all_, shown_;
  mutable std::map<PictureList::Id, QImage> small_; // of pictures that no longer refine
  QString filter_;
  bool starredOnly_ = false;
};

} // namespace host

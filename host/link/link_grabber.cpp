#include "link_grabber.h"

#include <algorithm>
#include <new>
#include <utility>

#include "film.h"
#include "film_bytes.h"
#include "picture_formats.h"
#include "picture_origin.h"

namespace host {

namespace {

constexpr std::size_t mostWishes = 16;
constexpr LONG jpegQuality = 95;

std::string formatIn(const Json& message) {
  const std::string format = textIn(message, "format");
  return format.empty() ? "png" : format;
}

LinkFrame failure(const Json& id, const std::string& text, const std::string& help) {
  return {{{"type", "error"}, {"message", id}, {"text", text}, {"help", help}}, {}};
}

} // namespace

struct LinkGrabber::Wish {
  std::shared_ptr<LinkConnection> connection;
  Json id;
  std::string format;
  std::shared_ptr<Film> film;
  bool running = false;

  LinkFrame answer() const;
  LinkFrame encoded() const;
};

// A film of its own: the viewer goes on drawing into the other one.
LinkFrame LinkGrabber::Wish::encoded() const {
  const std::shared_ptr<Film> still = copyOf(*film);
  still->setView(film->view());
  const SharedBitmap bitmap = makeBitmap(still->width(), still->height());
  if (!bitmap) throw std::bad_alloc();
  setFilm(*bitmap, still);
  drawFilm(*bitmap);
  BaseContainer options;
  options.SetLong(JPGSAVER_QUALITY, jpegQuality);
  putOrigin(options, *bitmap);
  const std::vector<unsigned char> bytes = encodePicture(*bitmap, formatOfSuffix(format)->filter, &options);
  LinkFrame frame;
  frame.json = {{"type", "picture"},
                {"message", id},
                {"format", format},
                {"width", still->width()},
                {"height", still->height()},
                {"running", running},
                {"blocks", {{"file", {{"offset", 0}, {"count", bytes.size()}, {"format", "u8"}}}}}};
  const std::span<const std::byte> raw = std::as_bytes(std::span(bytes));
  frame.body.assign(raw.begin(), raw.end());
  frame.body.resize((bytes.size() + 7) / 8 * 8);
  return frame;
}

LinkFrame LinkGrabber::Wish::answer() const {
  try {
    return encoded();
  } catch (const std::bad_alloc&) {
    return failure(id, "Lumenara Studio has not enough memory for the picture.", "Make the viewer smaller.");
  } catch (const std::exception& error) {
    return failure(id, std::string("The picture cannot be written so: ") + error.what() + ".",
                   "Try another format.");
  }
}

LinkGrabber::~LinkGrabber() {
  lifetime_.end();
  job_.reset();
}

void LinkGrabber::check(const Json& message) {
  const PictureFileFormat* format = formatOfSuffix(formatIn(message));
  if (!format || format->filter == 0)
    throw LinkError("Pictures are not written as \"" + formatIn(message) + "\".",
                    "Choose " + namesOfWrittenFormats() + ".");
}

void LinkGrabber::grab(const std::shared_ptr<LinkConnection>& connection, const Json& message) {
  const Json& id = member(message, "id");
  const PictureList::Picture* live = session_.pictures().live();
  const std::shared_ptr<Film> film = live ? filmOf(*live->bitmap) : nullptr;
  const auto refuse = [&](const char* text, const char* help) {
    connection->send(failure(id, text, help).json);
  };
  if (!film)
    return refuse("The viewer of Lumenara Studio has no picture yet.",
                  "Open the viewer and refresh it, then try again.");
  if (wishes_.size() >= mostWishes)
    return refuse("Too many pictures are being asked for at once.", "Try again later.");
  wishes_.push_back(std::make_shared<Wish>(Wish{connection, id, formatIn(message), film, live->running}));
  if (!job_) start();
}

void LinkGrabber::start() {
  job_ = std::make_unique<BackgroundJob>(
      "link picture",
      [wish = wishes_.front()](BaseThread&) {
        const LinkFrame answer = wish->answer();
        wish->connection->send(answer.json, answer.body);
      },
      [self = lifetime_.ref()] {
        if (self) self->ended();
      });
  if (job_->Start(THREADMODE_ASYNC, THREADPRIORITY_BELOW)) return;
  wishes_.front()->connection->send(
      failure(wishes_.front()->id, "No thread could be started.", "Close other programs.").json);
  ended();
}

void LinkGrabber::ended() {
  job_.reset();
  wishes_.pop_front();
  if (!wishes_.empty()) start();
}

} // namespace host

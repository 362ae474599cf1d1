// The plug-in's calls that write movies: checks, and the errors before the first frame.
#include <memory>
#include <new>
#include <system_error>
#include <utility>

#include "console.h"
#include "movie_job.h"
#include "part.h"
#include "user_interface.h"

struct MovieSaver::Data {
  std::unique_ptr<host::MovieJob> job;
  Filename name;
  IMAGERESULT result = IMAGERESULT_PARAM_ERROR; // of the last `Open`; nothing was opened yet
  bool refused = false;                         // a frame of another size has been recorded
  bool failed = false;                          // the last `Open`, for `Close`
};

namespace {

using host::MovieError;

const host::MovieCodec& chooseCodec(LONG format, LONG id) {
  if (const host::MovieCodec* codec = host::movieLibrary().findCodec(format, id)) return *codec;
  const char* name = host::movieFormatName(format);
  if (id == host::movieCodecDefault)
    throw MovieError(IMAGERESULT_WRONGTYPE,
                     std::string("was not written: the installed libraries have no codec for ") + name +
                         ". Choose the other movie format.");
  throw MovieError(IMAGERESULT_WRONGTYPE, std::string("was not written: ") + name + " has no codec number " +
                                              std::to_string(id) + ". Choose another codec.");
}

void checkRequest(const Filename& name, const BaseBitmap* bitmap, LONG fps, LONG format) {
  if (!name.Content()) throw MovieError(IMAGERESULT_PARAM_ERROR, "has no name. Choose a file name.");
  if (format != FILTER_AVI && format != FILTER_MOVIE && format != host::movieFormatMp4)
    throw MovieError(IMAGERESULT_WRONGTYPE, "was not written: there is no movie format " +
                                                std::to_string(format) + ". Choose QuickTime or AVI.");
  if (!bitmap || bitmap->GetBw() < 1)
    throw MovieError(IMAGERESULT_PARAM_ERROR, "was not written: the picture is empty. Give it a size first.");
  if (fps < 1 || fps > 1000)
    throw MovieError(IMAGERESULT_PARAM_ERROR, "was not written: " + std::to_string(fps) +
                                                  " frames a second are not possible. Choose 1 to 1000.");
}

void checkSize(const host::MovieCodec& codec, const BaseBitmap& bitmap) {
  if (bitmap.GetBw() <= codec.largestSide && bitmap.GetBh() <= codec.largestSide) return;
  throw MovieError(IMAGERESULT_PARAM_ERROR, std::string("was not written: ") + codec.name +
                                                " holds at most " + std::to_string(codec.largestSide) +
                                                " pixels a side. Use a smaller picture or another codec.");
}

std::unique_ptr<host::MovieJob> open(const Filename& name, const BaseBitmap* bitmap, LONG fps, LONG format,
                                     const BaseContainer* container, SAVEBIT bits) {
  checkRequest(name, bitmap, fps, format);
  const host::MovieOptions options = host::readMovieOptions(container);
  const host::MovieCodec& codec = chooseCodec(format, options.codec);
  checkSize(codec, *bitmap);
  const bool wanted = options.alpha || (bits & SAVEBIT_ALPHA) != 0;
  const bool alpha = wanted && bitmap->GetBt() == 32 && codec.hasAlpha();
  return std::make_unique<host::MovieJob>(name, *bitmap, codec, options, fps, alpha);
}

// Runs a step and records its exception.
template <class Step>
IMAGERESULT guarded(const Filename& name, Step step) {
  try {
    try {
      return step();
    } catch (const MovieError& error) {
      host::recordMovieFailure(name, error.what());
      return error.result;
    } catch (const host::PartError& error) {
      host::recordMovieFailure(name, std::string("was not written: ") + error.what() + ". " +
                                         host::moviePartAdvice);
      return IMAGERESULT_MISC_ERROR;
    } catch (const std::bad_alloc&) {
      host::recordMovieFailure(name, "was not written: not enough memory. Use a smaller picture.");
      return IMAGERESULT_OUTOFMEMORY;
    } catch (const std::system_error&) {
      host::recordMovieFailure(name, "was not written: no thread could be started. Close other programs.");
      return IMAGERESULT_MISC_ERROR;
    } catch (const std::exception& error) {
      host::recordMovieFailure(name,
                               "was not written (" + std::string(error.what()) + "). Choose another codec.");
      return IMAGERESULT_MISC_ERROR;
    }
  } catch (const std::bad_alloc&) { // not enough memory for the sentence
    return IMAGERESULT_OUTOFMEMORY;
  }
}

} // namespace

MovieSaver::MovieSaver() : data_(new Data) {
}

MovieSaver::~MovieSaver() {
  Close();
  delete data_;
}

MovieSaver* MovieSaver::Alloc() {
  try {
    return new MovieSaver;
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void MovieSaver::Free(MovieSaver*& saver) {
  delete saver;
  saver = nullptr;
}

IMAGERESULT MovieSaver::Open(const Filename& name, BaseBitmap* bitmap, LONG fps, LONG format,
                             const BaseContainer* options, SAVEBIT bits) {
  Close();
  data_->refused = false;
  data_->result = guarded(name, [&] {
    data_->name = name;
    data_->job = open(name, bitmap, fps, format, options, bits);
    return IMAGERESULT_OK;
  });
  data_->failed = data_->result != IMAGERESULT_OK;
  return data_->result;
}

IMAGERESULT MovieSaver::Write(BaseBitmap* bitmap) {
  if (!data_->job) return data_->result == IMAGERESULT_OK ? IMAGERESULT_PARAM_ERROR : data_->result;
  if (bitmap && data_->job->fits(*bitmap))
    return guarded(data_->name, [&] { return data_->job->add(*bitmap); });
  if (data_->refused) return IMAGERESULT_PARAM_ERROR;
  data_->refused = true;
  return guarded(data_->name, []() -> IMAGERESULT {
    throw MovieError(IMAGERESULT_PARAM_ERROR,
                     "lacks a frame that has not the movie's size. Give all frames the "
                     "same size.");
  });
}

Bool MovieSaver::Close() {
  const bool failed = std::exchange(data_->failed, false);
  if (!data_->job) return !failed;
  const IMAGERESULT result = guarded(data_->name, [&] { return data_->job->close(); });
  data_->job.reset();
  return result == IMAGERESULT_OK;
}

Bool MovieSaver::Choose(LONG format, BaseContainer& options) {
  try {
    if (host::movieCodecs(format).empty()) return FALSE;
  } catch (const host::PartError& error) {
    host::printLine(String("Movies have no options: ") + error.what() + ". " + host::moviePartAdvice);
    return FALSE;
  }
  BaseContainer edited = options;
  if (!host::userInterface().editMovieOptions(format, edited)) return FALSE;
  options = std::move(edited);
  return TRUE;
}

#include "picture_origin.h"

#include "markup_text.h"
#include "picture_codec.h"
#include "picture_formats.h"

namespace host {
// Names and texts take turns in the option's container.
void putOrigin(BaseContainer& options, const BaseBitmap& rendered) {
  const std::shared_ptr<Film> film = filmOf(rendered);
  if (!film) return;
  BaseContainer list;
  LONG id = 0;
  for (const auto& [key, text] : film->origin()) {
    list.SetString(id++, String(key));
    list.SetString(id++, String(text));
  }
  options.SetContainer(saverOrigin, list);
}

PictureOrigin originOf(const FilterJob& job) {
  PictureOrigin origin;
  if (!job.options) return origin;
  const BaseContainer list = job.options->GetContainer(saverOrigin);
  for (LONG id = 0; list.GetData(id).GetType() == DA_STRING; id += 2)
    origin.emplace_back(list.GetString(id).GetUTF8(), list.GetString(id + 1).GetUTF8());
  // A scene or a camera without a name; PNG files hold no empty texts.
  std::erase_if(origin, [](const auto& entry) { return entry.second.empty(); });
  return origin;
}

// ISO 16684-1: properties of a namespace of our own.
std::string originPacket(const FilterJob& job) {
  const PictureOrigin origin = originOf(job);
  if (origin.empty()) return {};
  std::string packet = "<?xpacket begin=\"\xef\xbb\xbf\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>\n"
                       "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\">\n"
                       "<rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">\n"
                       "<rdf:Description rdf:about=\"\" xmlns:lumenara=\"urn:lumenara:picture\">\n";
  for (const auto& [key, text] : origin)
    packet += "<lumenara:" + key + ">" + markupText(text) + "</lumenara:" + key + ">\n";
  return packet + "</rdf:Description>\n</rdf:RDF>\n</x:xmpmeta>\n<?xpacket end=\"r\"?>";
}

} // namespace host

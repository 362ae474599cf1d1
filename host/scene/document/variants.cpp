#include "variants.h"

#include "parameters.h"

namespace host {

std::vector<std::string> variantNames(const BaseDocument& document) {
  const BaseContainer names = stateOf(&document)->data.GetContainer(param::documentVariants);
  std::vector<std::string> list;
  for (LONG i = 0; names.GetType(i) == DA_STRING; ++i)
    list.push_back(names.GetString(i).GetUTF8());
  return list;
}

LONG chosenVariant(const BaseDocument& document) {
  const LONG index = param::integer(*stateOf(&document), param::documentVariant);
  return index >= 0 && static_cast<std::size_t>(index) < variantNames(document).size() ? index : -1;
}

void chooseVariant(BaseDocument& document, LONG index) {
  const auto lock = lockOf(stateOf(&document));
  BaseContainer& data = stateOf(&document)->data;
  if (index >= 0 && static_cast<std::size_t>(index) < variantNames(document).size())
    data.SetLong(param::documentVariant, index);
  else
    data.RemoveData(param::documentVariant);
}

bool belongsTo(const NodeState& textureTag, LONG variant) {
  const LONG own = param::integer(textureTag, param::textureVariant);
  return own < 0 || own == variant;
}

} // namespace host

#include "report/mustache.h"

#include <kainjow/mustache.hpp>
#include <stdexcept>

namespace mirel::report {

namespace {

using kainjow::mustache::data;
using kainjow::mustache::mustache;

data dataOf(const Json& json) {
  if (json.is_null()) return data(data::type::bool_false);
  if (json.is_string()) return data(json.string());
  if (json.is_array()) {
    data list(data::type::list);
    for (const Json& element : json.list()) list.push_back(dataOf(element));
    return list;
  }
  if (json.is_object()) {
    data object(data::type::object);
    for (const auto& [name, value] : json.items()) object.set(name, dataOf(value));
    return object;
  }
  if (json.is_number()) throw std::logic_error("a number in a page has no text");
  return data(json.dump() == "true" ? data::type::bool_true : data::type::bool_false);
}

}  // namespace

std::string filled(const std::string& page, const Json& data) {
  mustache reader(page);
  if (!reader.is_valid())
    throw std::logic_error("a template of the report: " + reader.error_message());
  // Writing and reading settles what is no UTF-8.
  const std::optional<Json> clean = Json::parse(data.dump(0, Json::NotUtf8::replaced));
  if (!clean) throw std::logic_error("the data of a report cannot be read back");
  return reader.render(dataOf(*clean));
}

}  // namespace mirel::report

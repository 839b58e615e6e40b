#include "base/json.h"

#include <algorithm>
#include <limits>
#include <nlohmann/json.hpp>

namespace mirel {

namespace {

using Tree = nlohmann::ordered_json;

constexpr int deepest = 500;

struct TooDeep {};

template <class... Cases>
struct Overloaded : Cases... {
  using Cases::operator()...;
};
template <class... Cases>
Overloaded(Cases...) -> Overloaded<Cases...>;

/// Whether braces around the elements mean an object.
bool areFields(std::initializer_list<Json> elements) {
  return std::all_of(elements.begin(), elements.end(), [](const Json& element) {
    return element.is_array() && element.list().size() == 2 && element.list()[0].is_string();
  });
}

}  // namespace

Json::Json(std::nullptr_t) : content(nullptr) {}
Json::Json(bool value) : content(value) {}
Json::Json(double value) : content(value) {}
Json::Json(const char* text) : content(std::string(text)) {}
Json::Json(std::string text) : content(std::move(text)) {}
Json::Json(const std::vector<std::string>& texts) : content(List(texts.begin(), texts.end())) {}
Json::Json(const Json& other) = default;
Json::Json(Json&& other) noexcept = default;
Json::~Json() = default;

Json& Json::operator=(Json other) noexcept {
  content.swap(other.content);
  return *this;
}

Json::Json(std::initializer_list<Json> elements) : content(List(elements)) {
  if (!areFields(elements)) return;
  Json fields = object();
  for (const Json& element : elements) {
    const List& pair = element.list();
    if (!fields.contains(pair[0].string())) fields[pair[0].string()] = pair[1];
  }
  content.swap(fields.content);
}

Json Json::object() {
  Json result;
  result.content = Fields();
  return result;
}

Json Json::array(std::initializer_list<Json> elements) {
  Json result;
  result.content = List(elements);
  return result;
}

bool Json::is_null() const { return std::holds_alternative<std::nullptr_t>(content); }
bool Json::is_string() const { return std::holds_alternative<std::string>(content); }
bool Json::is_array() const { return std::holds_alternative<List>(content); }
bool Json::is_object() const { return std::holds_alternative<Fields>(content); }

bool Json::is_number() const {
  return std::holds_alternative<std::int64_t>(content) ||
         std::holds_alternative<std::uint64_t>(content) || std::holds_alternative<double>(content);
}

double Json::number() const {
  if (const auto* value = std::get_if<double>(&content)) return *value;
  if (const auto* value = std::get_if<std::int64_t>(&content)) return static_cast<double>(*value);
  if (const auto* value = std::get_if<std::uint64_t>(&content)) return static_cast<double>(*value);
  throw Fault("a value is not a number");
}

int Json::integer() const {
  if (const auto* value = std::get_if<bool>(&content)) return static_cast<int>(*value);
  const double value = number();
  if (!(value >= std::numeric_limits<int>::min() && value <= std::numeric_limits<int>::max()))
    throw Fault("a number is beyond the integers");
  return static_cast<int>(value);
}

const std::string& Json::string() const {
  if (const auto* text = std::get_if<std::string>(&content)) return *text;
  throw Fault("a value is not a text");
}

const Json::List& Json::list() const {
  if (const auto* list = std::get_if<List>(&content)) return *list;
  throw Fault("a value is not a list");
}

const Json::Fields& Json::items() const {
  if (const auto* fields = std::get_if<Fields>(&content)) return *fields;
  throw Fault("a value is not an object");
}

const Json& Json::at(std::size_t number) const {
  if (number < list().size()) return list()[number];
  throw Fault("a list has no element " + std::to_string(number));
}

const Json& Json::at(const std::string& name) const {
  if (const Json* field = find(name)) return *field;
  throw Fault("there is no field " + name);
}

const Json* Json::find(const std::string& name) const {
  const auto* fields = std::get_if<Fields>(&content);
  if (fields == nullptr) return nullptr;
  const auto found = std::find_if(fields->begin(), fields->end(),
                                  [&](const auto& field) { return field.first == name; });
  return found == fields->end() ? nullptr : &found->second;
}

const Json& Json::part(const std::string& name) const {
  static const Json nothing;
  const Json* field = find(name);
  return field == nullptr ? nothing : *field;
}

std::string Json::textOf(const std::string& name) const {
  const Json& field = part(name);
  return field.is_string() ? field.string() : "";
}

std::optional<double> Json::numberOf(const std::string& name) const {
  const Json& field = part(name);
  return field.is_number() ? std::optional(field.number()) : std::nullopt;
}

std::vector<std::string> Json::textsOf(const std::string& name) const {
  std::vector<std::string> texts;
  const auto add = [&](const Json& one) {
    if (one.is_string() && !one.string().empty()) texts.push_back(one.string());
  };
  const Json& field = part(name);
  if (field.is_array())
    std::for_each(field.list().begin(), field.list().end(), add);
  else
    add(field);
  return texts;
}

std::vector<double> Json::numbersOf(const std::string& name) const {
  std::vector<double> numbers;
  const Json& field = part(name);
  if (!field.is_array()) return numbers;
  for (const Json& one : field.list())
    if (one.is_number()) numbers.push_back(one.number());
  return numbers;
}

Json& Json::operator[](const std::string& name) {
  if (is_null()) content = Fields();
  auto* fields = std::get_if<Fields>(&content);
  if (fields == nullptr) throw Fault("a value without fields has no " + name);
  for (auto& field : *fields)
    if (field.first == name) return field.second;
  return fields->emplace_back(name, nullptr).second;
}

void Json::update(const Json& other) {
  for (const auto& [name, value] : other.items()) (*this)[name] = value;
}

void Json::push_back(Json element) {
  if (is_null()) content = List();
  auto* list = std::get_if<List>(&content);
  if (list == nullptr) throw Fault("a value is not a list");
  list->push_back(std::move(element));
}

struct JsonWriter {
  static Tree treeOf(const Json& value) {
    return std::visit(Overloaded{[](const Json::List& list) {
                                   Tree result = Tree::array();
                                   for (const Json& element : list)
                                     result.push_back(treeOf(element));
                                   return result;
                                 },
                                 [](const Json::Fields& fields) {
                                   Tree result = Tree::object();
                                   for (const auto& [name, field] : fields)
                                     result[name] = treeOf(field);
                                   return result;
                                 },
                                 [](const auto& plain) { return Tree(plain); }},
                      value.content);
  }
};

std::string Json::dump() const { return dump(-1); }

std::string Json::dump(int indent, NotUtf8 handling) const {
  using Handler = Tree::error_handler_t;
  const Handler handler = handling == NotUtf8::replaced  ? Handler::replace
                          : handling == NotUtf8::dropped ? Handler::ignore
                                                         : Handler::strict;
  try {
    return JsonWriter::treeOf(*this).dump(indent, ' ', /*ensure_ascii=*/false, handler);
  } catch (const Tree::exception& failure) {
    throw Fault(failure.what());
  }
}

struct JsonReader {
  static Json fromTree(const nlohmann::json& tree, int depth) {
    if (depth > deepest) throw TooDeep();
    switch (tree.type()) {
      case nlohmann::json::value_t::boolean:
        return tree.get<bool>();
      case nlohmann::json::value_t::number_integer:
        return tree.get<std::int64_t>();
      case nlohmann::json::value_t::number_unsigned:
        return tree.get<std::uint64_t>();
      case nlohmann::json::value_t::number_float:
        return tree.get<double>();
      case nlohmann::json::value_t::string:
        return tree.get<std::string>();
      case nlohmann::json::value_t::array: {
        Json list = Json::array();
        for (const nlohmann::json& element : tree) list.push_back(fromTree(element, depth + 1));
        return list;
      }
      case nlohmann::json::value_t::object: {
        // Every name is there once: the list need not be searched.
        Json::Fields fields;
        for (const auto& field : tree.items())
          fields.emplace_back(field.key(), fromTree(field.value(), depth + 1));
        Json object;
        object.content.emplace<Json::Fields>(std::move(fields));
        return object;
      }
      default:
        return nullptr;
    }
  }
};

std::optional<Json> Json::parse(const std::string& text) {
  const nlohmann::json tree = nlohmann::json::parse(text, nullptr, /*allow_exceptions=*/false);
  if (tree.is_discarded()) return std::nullopt;
  try {
    return JsonReader::fromTree(tree, 0);
  } catch (const TooDeep&) {
    return std::nullopt;
  }
}

}  // namespace mirel

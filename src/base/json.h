#pragma once

#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace mirel {

/// A value of a JSON text: null, a truth value, a number, a text, a list, or an object whose fields
/// keep the order in which they were added. Braces write lists, and objects where every element is
/// a text with a value: Json{{"name", "epi"}, {"voxels", {64, 64, 30}}}.
///
/// A narrow front of nlohmann/json with its names: the library, whose header alone takes a second
/// to compile and its templates three more, reads and writes the texts in one file.
class Json {
 public:
  using List = std::vector<Json>;
  using Fields = std::vector<std::pair<std::string, Json>>;

  /// A value has another type than it is read as, or is not there.
  struct Fault : std::runtime_error {
    using std::runtime_error::runtime_error;
  };

  Json(std::nullptr_t = nullptr);
  Json(bool value);
  template <std::signed_integral Integer>
  Json(Integer value) : content(static_cast<std::int64_t>(value)) {}
  template <std::unsigned_integral Integer>
  Json(Integer value) : content(static_cast<std::uint64_t>(value)) {}
  /// NaN and infinite values are written as null.
  Json(double value);
  Json(const char* text);
  Json(std::string text);
  Json(const std::vector<std::string>& texts);
  Json(std::initializer_list<Json> elements);
  Json(const Json& other);
  Json(Json&& other) noexcept;
  Json& operator=(Json other) noexcept;
  ~Json();

  static Json object();
  static Json array(std::initializer_list<Json> elements = {});

  bool is_null() const;
  bool is_number() const;
  bool is_string() const;
  bool is_array() const;
  bool is_object() const;

  /// Errors  Fault when it is no number.
  double number() const;
  int integer() const;
  /// Errors  Fault when it is no text.
  const std::string& string() const;
  /// Errors  Fault when it is no list.
  const List& list() const;
  /// Errors  Fault when it is no object.
  const Fields& items() const;

  /// Errors  Fault when it is no list or has no element of that number.
  const Json& at(std::size_t number) const;
  /// Errors  Fault when it is no object or has no such field.
  const Json& at(const std::string& name) const;
  /// Null when it is no object or has no such field.
  const Json* find(const std::string& name) const;
  bool contains(const std::string& name) const { return find(name) != nullptr; }
  /// The field, or null as a value, in which nothing is found either: for texts of others, of which
  /// nothing is certain.
  const Json& part(const std::string& name) const;
  /// The text of a field; "" when it is not there or no text.
  std::string textOf(const std::string& name) const;
  /// The number of a field; nothing when it is not there or no number.
  std::optional<double> numberOf(const std::string& name) const;
  /// Of a field that is a text or a list the texts that are not empty.
  std::vector<std::string> textsOf(const std::string& name) const;
  /// Of a field that is a list the numbers.
  std::vector<double> numbersOf(const std::string& name) const;

  /// The field, added when it is not there; null becomes an object. Fault on all other values.
  Json& operator[](const std::string& name);
  /// Adds the fields of `other`, in the place of those of the same names.
  void update(const Json& other);
  /// Null becomes a list. Fault on all other values.
  void push_back(Json element);

  /// What becomes of bytes that are not UTF-8, such as those of a file name.
  enum class NotUtf8 {
    replaced,  ///< by the replacement character
    dropped,
    refused,  ///< Fault
  };
  /// In one line.
  std::string dump() const;
  /// One line per value, `indent` spaces per level.
  std::string dump(int indent, NotUtf8 handling = NotUtf8::refused) const;

  /// Nothing when `text` is not JSON, or nested more than 500 deep. The fields of objects come
  /// sorted by name; of fields of one name the last one counts.
  static std::optional<Json> parse(const std::string& text);

 private:
  friend struct JsonReader;
  friend struct JsonWriter;

  std::variant<std::nullptr_t, bool, std::int64_t, std::uint64_t, double, std::string, List, Fields>
      content;
};

}  // namespace mirel

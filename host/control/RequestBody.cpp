#include "host/control/RequestBody.h"

#include <fmt/format.h>

#include <functional>
#include <nlohmann/json.hpp>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

using nlohmann::json;

namespace {

/// More than any request has; what is nested deeper would cost stack to copy.
constexpr int kDeepest = 8;

ApiError badRequest(std::string text) { return {ApiError::Code::badRequest, std::move(text)}; }

/// Looks at what is parsed, as it is parsed.
class Inspection {
 public:
  /// @return false to leave out what was found. Nothing counts after a fault.
  bool operator()(int depth, json::parse_event_t event, json const& parsed) {
    if (!fFault.empty()) return false;
    if (depth > kDeepest) {
      fFault = "the body is nested too deeply";
    } else if (event == json::parse_event_t::object_start) {
      fFields.emplace_back();
    } else if (event == json::parse_event_t::object_end) {
      fFields.pop_back();
    } else if (event == json::parse_event_t::key) {
      auto const& field = parsed.get_ref<std::string const&>();
      const bool isNew = fFields.back().insert(field).second;
      if (!isNew) fFault = fmt::format("the field `{}' is given twice", field);
    }
    return fFault.empty();
  }

  std::string const& fault() const { return fFault; }

 private:
  std::vector<std::set<std::string>> fFields;  ///< of the objects that are open
  std::string fFault;
};

}  // namespace

ApiResult readObject(std::string const& body) {
  Inspection inspection;
  try {
    json object = json::parse(body, std::ref(inspection));
    if (!inspection.fault().empty()) return badRequest(inspection.fault());
    if (!object.is_object()) return badRequest("the body is not an object");
    return object;
  } catch (json::parse_error const& error) {
    // Without the library's own number of it, which is in brackets.
    const std::string_view what = error.what();
    return badRequest(fmt::format("the body is not JSON: {}", what.substr(what.find("] ") + 2)));
  } catch (json::exception const&) {
    return badRequest("the body has a number that is beyond all bounds");
  }
}

std::optional<ApiError> refuseBody(std::string const& body) {
  if (body.empty()) return std::nullopt;
  const ApiResult read = readObject(body);
  auto const* object = std::get_if<json>(&read);
  if (object != nullptr && object->empty()) return std::nullopt;
  return badRequest("no body is expected");
}

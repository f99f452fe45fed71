#include "host/control/ControlSettings.h"

#include <grp.h>
#include <pwd.h>

#include <charconv>
#include <limits>
#include <type_traits>
#include <vector>

namespace {

/// The greatest number stands for "leave it as it is" where owners are set.
template <typename Id>
std::optional<Id> parseId(std::string const& text) {
  static_assert(std::is_unsigned_v<Id>);
  Id id = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, id);
  const bool isNumber = error == std::errc() && stop == end;
  return isNumber && id != std::numeric_limits<Id>::max() ? std::optional(id) : std::nullopt;
}

/// As much as any entry of the user and group files needs, large groups included.
constexpr std::size_t kEntryBytes = std::size_t{1024} * 1024;

}  // namespace

std::optional<uid_t> userOf(std::string const& nameOrNumber) {
  if (const auto number = parseId<uid_t>(nameOrNumber)) return number;
  std::vector<char> buffer(kEntryBytes);
  passwd entry{};
  passwd* found = nullptr;
  ::getpwnam_r(nameOrNumber.c_str(), &entry, buffer.data(), buffer.size(), &found);
  return found != nullptr ? std::optional(found->pw_uid) : std::nullopt;
}

std::optional<gid_t> groupOf(std::string const& nameOrNumber) {
  if (const auto number = parseId<gid_t>(nameOrNumber)) return number;
  std::vector<char> buffer(kEntryBytes);
  ::group entry{};
  ::group* found = nullptr;
  ::getgrnam_r(nameOrNumber.c_str(), &entry, buffer.data(), buffer.size(), &found);
  return found != nullptr ? std::optional(found->gr_gid) : std::nullopt;
}

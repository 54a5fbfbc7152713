#pragma once

#include <array>
#include <string>
#include <string_view>

namespace identity {

/// The four facts that the identifier is made of, as their probes left them.
struct MachineFacts {
  std::wstring processor{};
  std::wstring disk{};
  std::wstring mac{};
  std::wstring volume{};
};

/// The machine's identifier: the facts, each behind its tag, escaped to plain ASCII. A fact that cannot be found out is
/// an empty field ("0" for the processor). Probed at the first call, which may block on devices for a while, and kept
/// for the life of the process. Any thread.
const std::string& MachineId();

/// Joins the facts behind their tags. Blanks vanish, and the disk's serial number is made readable and cut to 40
/// characters.
std::wstring JoinFacts(const MachineFacts& facts);

/// Writes every character outside '-', '0'-'9', '=', 'A'-'Z', '_' and 'a'-'z' as the lower-case hex digits of its
/// UTF-16 code unit, at least two and without a mark. Takes 2,048 characters at most and drops the rest.
std::wstring EscapeId(const std::wstring& text);

/// The drives whose disk and volume count: C, and the one before the first colon in `anchor` if that is another; 0
/// where there is none.
std::array<wchar_t, 2> ProbeDriveLetters(std::wstring_view anchor);

}  // namespace identity

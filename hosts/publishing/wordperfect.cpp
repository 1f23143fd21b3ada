// WordPerfect 7, 8 and 9: the setup tool lists them by name, but nothing tells
// where these versions look for proofing tools, so the library neither finds
// nor changes them. They name themselves in Info; Exist, Avail, Attach and
// Check answer no, and Detach has nothing to undo.

#include <cstdint>

#include "contract.h"

namespace kvil {
namespace {

struct WordPerfectHost {
  const char* applicationKey;
  const char* version;
};

const WordPerfectHost kWordPerfect7{.applicationKey = "WPWIN7", .version = "7.0"};
const WordPerfectHost kWordPerfect8{.applicationKey = "WPWIN8", .version = "8.0"};
const WordPerfectHost kWordPerfect9{.applicationKey = "WPWIN9", .version = "9.0"};

struct WordPerfectOps {
  static HostResult Exist(const WordPerfectHost&, int, int, std::intptr_t, std::intptr_t) { return 0; }

  static HostResult Info(const WordPerfectHost& host, int, int, char* buffer, std::int32_t* length) {
    return FormatInfoList(host.applicationKey, host.version, buffer, length);
  }

  static HostResult Avail(const WordPerfectHost&, int, int, std::intptr_t, std::intptr_t) { return 0; }
  static HostResult Attach(const WordPerfectHost&, int, int, std::intptr_t, std::intptr_t) { return 0; }

  // A tool kind outside 0..3 is refused like everywhere else.
  static HostResult Detach(const WordPerfectHost&, int kind, int, std::intptr_t, std::intptr_t) {
    return IsToolKind(kind) ? 1 : 0;
  }

  static HostResult Check(const WordPerfectHost&, int, int, std::intptr_t, std::intptr_t) { return 0; }
};

}  // namespace
}  // namespace kvil

KVIL_HOST_EXPORTS(WP70, kvil::WordPerfectOps, kvil::kWordPerfect7)
KVIL_HOST_EXPORTS(WP80, kvil::WordPerfectOps, kvil::kWordPerfect8)
KVIL_HOST_EXPORTS(WP90, kvil::WordPerfectOps, kvil::kWordPerfect9)

#include "host/session.h"

namespace mirel {

HostSession& hostSession() {
  static HostSession session;
  return session;
}

}  // namespace mirel

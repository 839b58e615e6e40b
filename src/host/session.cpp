#include "host/session.h"

HostSession& hostSession() {
  static HostSession session;
  return session;
}

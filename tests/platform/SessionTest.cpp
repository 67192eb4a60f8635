// SPDX-License-Identifier: MIT
// Which backend serves a session, and what the X11 backend's trust answers there: a Wayland
// desktop that no backend serves gets the X11 fallback, which refuses every run for that reason
// (the refusal's texts: AppDelegateTest and wayland-refusal-e2e.sh).
#include <gtest/gtest.h>

#include <optional>
#include <ostream>
#include <string>

#include "platform/Backend.h"
#include "platform/x11/X11Desktop.h"
#include "platform/x11/X11Input.h"

namespace vorrik {
namespace {

// A compositor with the virtual-pointer protocol is named "wayland-vp" here.
std::optional<std::string> waylandUnfit(const Session& session) {
  if (session.waylandDisplay != "wayland-vp") {
    return "no virtual pointer";
  }
  return std::nullopt;
}
std::optional<std::string> x11Unfit(const Session& session) {
  if (session.display.empty()) {
    return "no X display";
  }
  return std::nullopt;
}
const Backend kCandidates[] = {{"wlroots", nullptr, &waylandUnfit, nullptr},
                               {"x11", nullptr, &x11Unfit, nullptr}};

struct SessionCase {
  const char* name;
  Session session;
  const char* backend;  // "" when none serves
  bool wholeSession;    // of the X11 backend, when it serves
};

void PrintTo(const SessionCase& c, std::ostream* os) {
  *os << c.name;
}

class SessionTest : public ::testing::TestWithParam<SessionCase> {};

TEST_P(SessionTest, ChoosesTheBackendAndTrustsOnlyWhatReachesTheWholeSession) {
  const SessionCase& c = GetParam();
  const BackendChoice choice = chooseBackend(c.session, kCandidates);
  ASSERT_EQ(choice.backend ? std::string(choice.backend->name) : "", c.backend) << choice.why;
  if (std::string(c.backend) != "x11") {
    return;
  }
  EXPECT_EQ(x11::reachesWholeSession(c.session), c.wholeSession);
  x11::X11Trust trust(nullptr, x11::reachesWholeSession(c.session));
  EXPECT_EQ(trust.refusal(), c.wholeSession ? Refusal::noInjection : Refusal::unsupportedWayland);
  if (!c.wholeSession) {
    EXPECT_FALSE(trust.isTrusted(false));
  }
}

INSTANTIATE_TEST_SUITE_P(
    Sessions, SessionTest,
    ::testing::Values(
        SessionCase{"X11", {":1", "", "x11", ""}, "x11", true},
        SessionCase{"X11WithoutSessionType", {":1", "", "", ""}, "x11", true},
        // A compositor started inside an X11 session leaves WAYLAND_DISPLAY in its terminals.
        SessionCase{"X11WithNestedCompositor", {":1", "wayland-1", "x11", ""}, "x11", true},
        SessionCase{"WaylandWithXwayland", {":1", "wayland-0", "wayland", ""}, "x11", false},
        SessionCase{"WaylandWithoutSessionType", {":1", "wayland-0", "", ""}, "x11", false},
        SessionCase{"WaylandSessionTypeOnly", {":1", "", "wayland", ""}, "x11", false},
        SessionCase{
            "WaylandWithVirtualPointer", {":1", "wayland-vp", "wayland", ""}, "wlroots", true},
        // Asked for by name, the X11 backend clicks into the X11 applications it reaches.
        SessionCase{"WaylandForcedX11", {":1", "wayland-0", "wayland", "x11"}, "x11", true},
        SessionCase{"WaylandWithoutXwayland", {"", "wayland-0", "wayland", ""}, "", true}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace vorrik

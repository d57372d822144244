#include "app/ApplicationCommands.h"

#include "app/AppDelegate.h"

namespace quillmor {

std::span<const ApplicationCommand> applicationCommands() {
  static constexpr ApplicationCommand kRows[] = {
      {{.action = "showAbout:", .title = "About Quillmor"},
       [](auto&, auto& surface, auto&) { surface.showAboutWindow(); }},
      {{.action = "showPreferences:", .title = "Preferences…", .key = ","},
       [](auto& app, auto&, auto&) { app.showPreferences(); }},
      {{.action = "requestQuit:", .title = "Quit Quillmor", .key = "q"},
       [](auto& app, auto&, auto&) { app.requestQuit(); }},
      {{.action = "newDocument:", .title = "New", .key = "n"},
       [](auto& app, auto&, auto&) { app.newDocument(); }},
      {{.action = "forwardOpenDocument:", .title = "Open…", .key = "o"},
       [](auto& app, auto&, auto& origin) { app.openDocument(origin); }},
      {{.action = "performClose:", .title = "Close", .key = "w"},
       [](auto&, auto& surface, auto& origin) { surface.performClose(origin); }},
  };
  return kRows;
}

}  // namespace quillmor

#pragma once

#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

class QObject;

namespace tavrik {

/// Runs the tool `gsettings`. `done` is called once, on the main thread, never within the call, with what it
/// printed, or nothing if it is missing or knows no such schema; not at all once the owner is gone. No portal
/// hands out these settings, and their library would be loaded on every desktop; the tool is a part of GNOME
/// and takes some ten milliseconds.
void runGsettings(const QStringList& arguments, QObject& owner,
                  const std::function<void(const std::optional<QString>&)>& done);

} // namespace tavrik

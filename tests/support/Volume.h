#pragma once

#include <functional>
#include <string>

namespace zukel::test {

/// Runs `body` in a thread that alone sees an empty volume mounted, and hands it the volume's path.
///
/// @param options of tmpfs, such as "size=64k".
/// @returns false without running it when the process may not mount.
bool OnSmallVolume(const std::string& options, const std::function<void(const std::string&)>& body);

/// Within `OnSmallVolume`: mounts the volume again, with nothing on it to be changed.
void MakeReadOnly(const std::string& volume);
/// Within `OnSmallVolume`: lets the directory `there` show the directory `what` as well.
void ShowTwice(const std::string& what, const std::string& there);

}  // namespace zukel::test

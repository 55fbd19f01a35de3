#pragma once

// Turns a kernel device path, such as the image path that the system reports for a process, into one with a drive
// letter: \Device\HarddiskVolume2\a.exe into C:\a.exe, and \Device\Mup\server\share\a.exe into a path on the drive
// that is mapped to the share. Ignores case. The first drive whose device name the path begins with wins; the match
// may end in the middle of a name, on purpose. A path of no drive is returned in its long form, if the system knows
// one (\Device\Mup\server becomes \\server first), else as it was given. A path that is empty, null or unreadable, or
// has more than 260 units, is returned as it is. The result is the argument itself or a buffer that the next call
// overwrites. The drives are looked up once per process, by the first call that needs them; when that fails there are
// none from then on. Does not raise. Not for concurrent use.
const wchar_t* DeviceToDrivePath(const wchar_t* path) noexcept;

#pragma once

// The program's identity, shown in About and stamped on crash files.
namespace AppInfo {
inline constexpr char kVersion[] = "3.1.4.45";
inline constexpr char kBuild[] = "1222220025";
inline constexpr char kName[] = "CorvaneLink";
// Folder under the user's documents where crash files are written.
inline constexpr char kCrashFolder[] = "CorvaneLink3";
} // namespace AppInfo

#pragma once

namespace quillbay {

/// The version of this program: dotted numbers, "0.0.0" for a build without one.
const char* applicationVersion();

/// Tells apart the builds of one version.
const char* applicationBuildNumber();

}  // namespace quillbay

#ifndef TOOL_BINDING_VERSION_HPP_
#define TOOL_BINDING_VERSION_HPP_

// The one version number of the project. The build reads it from these lines, so that the library,
// its package files and its shared object name cannot disagree.

#define TOOL_BINDING_VERSION_MAJOR 0
#define TOOL_BINDING_VERSION_MINOR 1
#define TOOL_BINDING_VERSION_PATCH 0

#endif  // TOOL_BINDING_VERSION_HPP_

#ifndef TOOL_BINDING_EXPORT_HPP_
#define TOOL_BINDING_EXPORT_HPP_

// TOOL_BINDING_EXPORT marks what a shared library shows. The library is built with hidden
// visibility, and an exception or base class that stays hidden cannot be caught or cast outside it.

#if defined(__GNUC__)
#define TOOL_BINDING_EXPORT __attribute__((visibility("default")))
#else
#define TOOL_BINDING_EXPORT
#endif

#endif  // TOOL_BINDING_EXPORT_HPP_

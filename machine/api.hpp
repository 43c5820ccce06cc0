#pragma once

/// Marks what the shared library registration_commands exports. Every target that compiles the
/// library's own sources defines REGISTRATION_COMMANDS_BUILD; an outside consumer does not. With
/// REGISTRATION_COMMANDS_STATIC nothing is marked.
#if defined(_WIN32)
#if defined(REGISTRATION_COMMANDS_STATIC)
#define REGISTRATION_API
#elif defined(REGISTRATION_COMMANDS_BUILD)
#define REGISTRATION_API __declspec(dllexport)
#else
#define REGISTRATION_API __declspec(dllimport)
#endif
#else
#define REGISTRATION_API __attribute__((visibility("default")))
#endif

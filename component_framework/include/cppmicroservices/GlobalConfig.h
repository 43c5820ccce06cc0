#pragma once

/// What a bundle exports and imports, and the names of the functions that its macros make.

#if defined(_WIN32)
#define US_ABI_EXPORT __declspec(dllexport)
#define US_ABI_IMPORT __declspec(dllimport)
#else
#define US_ABI_EXPORT __attribute__((visibility("default")))
#define US_ABI_IMPORT __attribute__((visibility("default")))
#endif

#if defined(CppMicroServices_EXPORTS)
#define US_Framework_EXPORT US_ABI_EXPORT
#else
#define US_Framework_EXPORT US_ABI_IMPORT
#endif

#define US_STR_(text) #text
#define US_STR(text) US_STR_(text)
#define US_CONCAT_(a, b) a##b
#define US_CONCAT(a, b) US_CONCAT_(a, b)

#define US_GET_CTX_PREFIX _us_get_bundle_context_instance_
#define US_SET_CTX_PREFIX _us_set_bundle_context_instance_
#define US_CTX_INS_PREFIX _us_bundle_context_instance_
#define US_CREATE_ACTIVATOR_PREFIX _us_create_activator_
#define US_DESTROY_ACTIVATOR_PREFIX _us_destroy_activator_

#define US_GET_CTX_FUNC(name) US_CONCAT(US_GET_CTX_PREFIX, name)
#define US_SET_CTX_FUNC(name) US_CONCAT(US_SET_CTX_PREFIX, name)
#define US_CTX_INS(name) US_CONCAT(US_CTX_INS_PREFIX, name)
#define US_CREATE_ACTIVATOR_FUNC(name) US_CONCAT(US_CREATE_ACTIVATOR_PREFIX, name)
#define US_DESTROY_ACTIVATOR_FUNC(name) US_CONCAT(US_DESTROY_ACTIVATOR_PREFIX, name)

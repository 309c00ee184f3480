#ifndef HOSTS_NODE_NODEAPI_H
#define HOSTS_NODE_NODEAPI_H

// Version 5 is what the oldest shell that is tried has (Node.js 13). Nothing is imported: see below.
#define NAPI_VERSION 5
#define NAPI_EXTERN
#include <node_api.h>

namespace pellora::node
{

/* clang-format off */
#define PELLORA_NODE_FUNCTIONS(F) \
    F(napi_add_env_cleanup_hook) \
    F(napi_call_function) \
    F(napi_call_threadsafe_function) \
    F(napi_close_handle_scope) \
    F(napi_create_array_with_length) \
    F(napi_create_buffer_copy) \
    F(napi_create_double) \
    F(napi_create_error) \
    F(napi_create_function) \
    F(napi_create_object) \
    F(napi_create_promise) \
    F(napi_create_reference) \
    F(napi_create_string_utf8) \
    F(napi_create_threadsafe_function) \
    F(napi_delete_reference) \
    F(napi_fatal_exception) \
    F(napi_get_and_clear_last_exception) \
    F(napi_get_array_length) \
    F(napi_get_buffer_info) \
    F(napi_get_cb_info) \
    F(napi_get_element) \
    F(napi_get_named_property) \
    F(napi_get_null) \
    F(napi_get_reference_value) \
    F(napi_get_undefined) \
    F(napi_get_value_bool) \
    F(napi_get_value_double) \
    F(napi_get_value_string_utf8) \
    F(napi_is_array) \
    F(napi_is_buffer) \
    F(napi_open_handle_scope) \
    F(napi_ref_threadsafe_function) \
    F(napi_reject_deferred) \
    F(napi_release_threadsafe_function) \
    F(napi_resolve_deferred) \
    F(napi_set_element) \
    F(napi_set_named_property) \
    F(napi_throw) \
    F(napi_typeof) \
    F(napi_unref_threadsafe_function) \
    F(napi_unwrap) \
    F(napi_wrap)
/* clang-format on */

/**
 * The functions of the engine that has loaded this module.
 *
 * Node.js and Electron export them from the executable, NW.js from node.dll. A module that imports them from one is not
 * loaded by the other, so they are looked for at run time.
 */
struct NodeApi {
// NOLINTNEXTLINE(bugprone-macro-parentheses): a declared name bears none.
#define PELLORA_NODE_MEMBER(name) decltype(&::name) name = nullptr;
    PELLORA_NODE_FUNCTIONS(PELLORA_NODE_MEMBER)
#undef PELLORA_NODE_MEMBER
};

/** Valid once findNodeApi has answered true. */
extern NodeApi g_napi;

/** Any thread. False: the process has no Node-API, or an older one. */
[[nodiscard]] bool findNodeApi() noexcept;

} // namespace pellora::node

#endif

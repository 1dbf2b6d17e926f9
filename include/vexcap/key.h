/// Where settings are kept: below a root, in TOML files that users may edit. SOFTWARE/company/product/vexcap.toml is
/// that of a host.
#ifndef VEXCAP_KEY_H
#define VEXCAP_KEY_H

#include <vexcap/types.h>

VEXCAP_EXTERN_C_BEGIN

/// A settings root. It stays valid while any call that was given it may use it: free it after vexcap_fini.
typedef struct vex_key vex_key;

/// The user's settings: below $XDG_CONFIG_HOME, or $HOME/.config. Null when neither is set.
/// The caller frees it with vex_key_free.
VEXCAP_API vex_key* vex_key_user(void);

/// A directory as settings root; it is made when first needed. Null for a null or empty path.
/// `path` is UTF-8. The caller frees the key with vex_key_free.
VEXCAP_API vex_key* vex_key_directory(const char* path);

/// Frees a root. Null is allowed. The settings stay.
VEXCAP_API void vex_key_free(vex_key* key);

VEXCAP_EXTERN_C_END
#endif

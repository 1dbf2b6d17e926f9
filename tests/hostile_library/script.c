#include "tests/hostile_library/script.h"

#include <pthread.h>
#include <stdlib.h>
#include <string.h>

#include "tests/hostile_library/hostile.h"

#define HOSTILE_DEFAULT(name, value) .name = (value),
static const Script plain = {HOSTILE_KEYS(HOSTILE_DEFAULT)};

static pthread_mutex_t script_lock = PTHREAD_MUTEX_INITIALIZER;
static Script script = {HOSTILE_KEYS(HOSTILE_DEFAULT)};

Script current_script(void) {
    pthread_mutex_lock(&script_lock);
    const Script copy = script;
    pthread_mutex_unlock(&script_lock);
    return copy;
}

static int64_t* field(Script* target, const char* key, size_t length) {
#define HOSTILE_MATCH(name, value) \
    if (strlen(#name) == length && strncmp(#name, key, length) == 0) return &target->name;
    HOSTILE_KEYS(HOSTILE_MATCH)
    return NULL;
}

int hostile_script(const char* text) {
    Script next = plain;
    while (*text != 0) {
        const char* const equals = strchr(text, '=');
        if (equals == NULL) return -1;
        int64_t* const value = field(&next, text, (size_t)(equals - text));
        if (value == NULL) return -1;
        char* end = NULL;
        *value = strtoll(equals + 1, &end, 0);
        if (end == equals + 1 || (*end != 0 && *end != ';')) return -1;
        text = *end == ';' ? end + 1 : end;
    }
    pthread_mutex_lock(&script_lock);
    script = next;
    pthread_mutex_unlock(&script_lock);
    return 0;
}

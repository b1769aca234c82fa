#pragma once

// Brindlemoss for any language: a C interface (C11, and C++).
//
//     int32_t rating = 0;
//     brindlemoss_score(bytes, length, true, &rating);  // from 0 (pass) to 100 (block)
//
// Beside that, objects of sixteen classes are created by name, and their methods are called by
// name. docs/component.md lists the classes, their methods, and the arguments of each. Link with
// `brindlemoss`. For C++ there is also <brindlemoss/component.h>.
//
// - What goes wrong is told by a status, or by the neutral result that the method's documentation
//   names. A null pointer where there must be something gives BRINDLEMOSS_INVALID_CALL. Nothing
//   throws, and no bytes of a message make a call fail in another way.
// - Any number of threads may call at a time, also one object, unless the documentation of its
//   class says otherwise.
// - What is handed in must stay as it is during the call, and may go afterwards.
// - Functions and layouts stay as they are as long as the library's SONAME does.

#include <stddef.h>
#include <stdint.h>
#ifndef __cplusplus
#include <stdbool.h>
#include <uchar.h>
#endif

#define BRINDLEMOSS_API __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

typedef uint32_t brindlemoss_status;

#define BRINDLEMOSS_SUCCESS UINT32_C(0)
#define BRINDLEMOSS_NOT_IMPLEMENTED UINT32_C(0x80004001)
// A call that cannot be made: no such class or method, arguments that the method does not take, a
// null pointer, or no memory.
#define BRINDLEMOSS_INVALID_CALL UINT32_C(0x80004005)

// The `type` of a value.
#define BRINDLEMOSS_ABSENT UINT32_C(0)  // no value: all zeros is that
#define BRINDLEMOSS_TEXT UINT32_C(1)    // `text` and `length`
#define BRINDLEMOSS_NUMBER UINT32_C(2)  // `number`
#define BRINDLEMOSS_TRUTH UINT32_C(3)   // `number`: 0 is no, anything else yes; 1 in results

// An argument of a call, or a value that comes back.
//
// A text is a row of 16-bit units, as in u"text": UTF-16, where surrogates may stand alone, or raw
// bytes of mail, one byte a unit. It may hold zeros. Of an argument only the `length` units count,
// and `text` may be null when that is 0; in results a zero stands behind them.
typedef struct brindlemoss_value {
    uint32_t type;
    int32_t number;
    const char16_t* text;
    size_t length;  // in units
} brindlemoss_value;

// An object of a class.
typedef struct brindlemoss_object brindlemoss_object;

// Rates a raw message of `length` bytes; `bytes` may be null when that is 0. `orphan`: the message
// is judged for the first time. The rating is 0 when the status tells a failure, and also after a
// fault within the analysis, which the log tells.
BRINDLEMOSS_API brindlemoss_status brindlemoss_score(const void* bytes, size_t length, bool orphan,
                                                     int32_t* rating);

// The outside name of a class, such as "Brindlemoss.Filter"; null from the number of classes on.
// Valid as long as the library is loaded.
BRINDLEMOSS_API const char* brindlemoss_class_name(size_t index);

// Makes an object of the class with that outside name, also with ".1" behind it, in any case of
// letters. It is the caller's, to be given back with brindlemoss_release(). Null after a failure.
BRINDLEMOSS_API brindlemoss_status brindlemoss_create(const char* class_name,
                                                      brindlemoss_object** object);

// Ends an object. Nobody may be calling it. Null is nothing to end.
BRINDLEMOSS_API void brindlemoss_release(brindlemoss_object* object);

// Calls a method by its name, in any case of letters, with the arguments that go in, or in and out,
// in their order; `arguments` may be null when `argument_count` is 0.
//
// Gives what the method returns. `*results` then holds its result, and behind it what else goes
// out, in order; to be freed with brindlemoss_free_results(). It is null, and the count 0, when
// there is nothing, which is so whenever the status is not BRINDLEMOSS_SUCCESS. `results` and
// `result_count` may be null themselves when nobody wants to know.
BRINDLEMOSS_API brindlemoss_status brindlemoss_invoke(
    brindlemoss_object* object, const char* method, const brindlemoss_value* arguments,
    size_t argument_count, brindlemoss_value** results, size_t* result_count);

// Frees what one call brought, with its texts. Null is nothing to free.
BRINDLEMOSS_API void brindlemoss_free_results(brindlemoss_value* results);

// The library's life in the process. The first call that needs it loads it: opens the log and arms
// the crash handler. brindlemoss_unload() waits for the calls that run and frees what they shared;
// what is called afterwards loads it again. Objects outlive it, and so do threads of the library:
// those of the community until the method Shutdown of Brindlemoss.Communication, and one that a
// login began until it has fetched the settings.
BRINDLEMOSS_API void brindlemoss_load(void);
BRINDLEMOSS_API void brindlemoss_unload(void);

// The number of objects there are, and whether there is none.
BRINDLEMOSS_API size_t brindlemoss_live_objects(void);
BRINDLEMOSS_API bool brindlemoss_can_unload_now(void);

// The version of the library, such as "1.0.2".
BRINDLEMOSS_API const char* brindlemoss_version(void);

#ifdef __cplusplus
}
#endif

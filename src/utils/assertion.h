#ifndef _ASSERTION_H
#define _ASSERTION_H

#include <cstdio>
#include <cstdlib>

// Internal consistency checks: unlike assert(), they stay active in release builds.
#define sorvane_assert(expr) \
	do { \
		if (!(expr)) { \
			fprintf(stderr, "%s:%d: %s: Assertion `%s' failed.\n", __FILE__, __LINE__, __func__, #expr); \
			abort(); \
		} \
	} while (0)

#endif

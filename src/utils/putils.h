#ifndef _PUTILS_H
#define _PUTILS_H

#include <mutex>
#include <string>
#include <vector>

// State word of the random generator; -123456789 until initRandom runs.
extern long seed;
// Held for each draw: all threads share one stream.
extern std::mutex mutex_rng;

// Random generator and probability helpers.
namespace putils {
	void initRandom(long s);
	double getRandom();
	int getRandom(int n);
	int sample(const std::vector < double > & v, double sum);
	void normalise(std::vector < double > & v);
	std::string getRandomID();
}

#endif

#include "utils/putils.h"
#include "utils/assertion.h"

#include <boost/lexical_cast.hpp>
#include <boost/uuid/uuid.hpp>
#include <boost/uuid/uuid_generators.hpp>
#include <boost/uuid/uuid_io.hpp>
#include <cmath>

long seed = -123456789;
std::mutex mutex_rng;

// Park and Miller's minimal standard generator with a Bays-Durham shuffle table.
static const long IA = 16807;
static const long IM = 2147483647;
static const long IQ = 127773;
static const long IR = 2836;
static const int NTAB = 32;
static const long NDIV = 1 + (IM - 1) / NTAB;
static const double AM = 1.0 / IM;
static const double RNMX = 0.99999988;

static long iy = 0;
static long iv[NTAB];

static inline long congruentialStep(long s) {
	long k = s / IQ;
	s = IA * (s - k * IQ) - IR * k;
	if (s < 0) s += IM;
	return s;
}

namespace putils {

void initRandom(long s) {
	seed = -s;
}

double getRandom() {
	std::lock_guard < std::mutex > lock (mutex_rng);
	if (seed <= 0 || !iy) {
		seed = std::max(-seed, 1L);
		for (int j = NTAB + 7 ; j >= 0 ; j --) {
			seed = congruentialStep(seed);
			if (j < NTAB) iv[j] = seed;
		}
		iy = iv[0];
	}
	seed = congruentialStep(seed);
	int j = iy / NDIV;
	iy = iv[j];
	iv[j] = seed;
	return std::min(AM * iy, RNMX);
}

int getRandom(int n) {
	return (int)floor(getRandom() * n);
}

int sample(const std::vector < double > & v, double sum) {
	double t = getRandom() * sum;
	if (v.size() <= 1) return 0;
	double c = v[0];
	if (c > t) return 0;
	int last = v.size() - 1;
	for (int i = 1 ; ; i ++) {
		if (i >= last) return last;
		c += v[i];
		if (c > t) return i;
	}
}

void normalise(std::vector < double > & v) {
	double sum = 0.0;
	for (double x : v) sum += x;
	if (sum == 0.0) return;
	for (double & x : v) x /= sum;
}

std::string getRandomID() {
	return boost::lexical_cast < std::string > (boost::uuids::random_generator()());
}

}

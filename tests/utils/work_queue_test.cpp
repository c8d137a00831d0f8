#include "utils/work_queue.h"

#include <atomic>
#include <gtest/gtest.h>
#include <chrono>
#include <stdexcept>
#include <thread>

// A throwing task stops the claims and its exception reaches the caller; the pool serves the next call. Items run once on a worker, counts in order; a drain takes all.
TEST(work_queue, RunAndDrainTakeEveryItemOnce) {
	for (int T : { 1, 3 }) for (int n : { 0, 50 }) {
		work_queue W (T);
		std::atomic < int > left (0);
		// Items take a millisecond each, so that the queue cannot run dry while the exception travels, however slow the build.
		EXPECT_THROW(W.run(1000, [&](int i, int) { if (i == 5) throw std::runtime_error("x"); std::this_thread::sleep_for(std::chrono::milliseconds(1)); left ++; }), std::runtime_error);
		EXPECT_LT(left, 999);
		std::vector < std::atomic < int > > seen (n);
		std::vector < int > counts;
		W.run(n, [&](int i, int w) { EXPECT_TRUE(w >= 0 && w < T); seen[i] ++; }, [&](int f) { counts.push_back(f); });
		for (int i = 0 ; i < n ; i ++) EXPECT_TRUE(seen[i] == 1 && counts[i] == i + 1) << T << " " << i;
		left = n;
		W.drain([&](int) { return left -- > 0; }, [&](int f) { counts.push_back(f); });
		EXPECT_EQ(counts.size(), 2u * n);
		EXPECT_EQ(counts.empty() ? 0 : counts.back(), n);
	}
}

// A batch opens before its items and closes after all of them, before any of the next; on one worker the steps come in plain order. Every item is timed.
TEST(work_queue, BatchesEndInABarrier) {
	for (int T : { 1, 3 }) {
		work_queue W (T);
		std::mutex m;
		std::string steps;
		int first = -1, last = -1;
		W.batches(10, 4, [&](int f, int l) { first = f; last = l; steps += "o"; },
			[&](int i, int) { std::lock_guard < std::mutex > lock (m); EXPECT_TRUE(i >= first && i < last) << i; steps += "i"; },
			[&](int, int l) { EXPECT_EQ(l, last); first = last = -1; steps += "c"; });
		EXPECT_EQ(steps, "oiiiicoiiiicoiic");
		EXPECT_TRUE(W.batch_count == 3 && W.items_timed == 10 && W.itemQuantile(0.0) <= W.itemQuantile(1.0)) << W.batch_count << " " << W.items_timed;
	}
}

#!/usr/bin/python3
# Reference words of the 32-bit Mersenne Twister seeded by the array method, from numpy's legacy
# RandomState: a seed list of two or more words goes through init_by_array (a one-word list is
# taken as an integer seed, another method, so it is not used here), and randint over the full
# 32-bit range returns the tempered words as they come. The state after seeding is recorded too.
#
# Regenerate: /usr/bin/python3 tests/oracles/mt19937_numpy.py > tests/oracles/mt19937_numpy.txt
# (Debian's python3-numpy).
#
# Format, one case per block:
#   key <k> <key words...>
#   state <mt[0]> <mt[1]> <mt[2]> <mt[623]>
#   words <count>
#   <count words, 8 per line>
import numpy as np

KEYS = [[0, 0], [1, 0], [0x12345, 0x23456, 0x34567, 0x45678], [0xffffffff, 7],
        list(range(1, 701))]
COUNT = 1400

for key in KEYS:
    rs = np.random.RandomState(key)
    state = rs.get_state()[1]
    words = rs.randint(0, 2**32, size=COUNT, dtype=np.uint64)
    print("key", len(key), " ".join("%d" % k for k in key))
    print("state %d %d %d %d" % (state[0], state[1], state[2], state[623]))
    print("words", COUNT)
    for i in range(0, COUNT, 8):
        print(" ".join("%d" % w for w in words[i:i + 8]))

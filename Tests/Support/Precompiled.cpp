// Stands for the headers that the tests share precompiled; has nothing of its own.

// Nothing of its own: the headers that are precompiled for the tests.

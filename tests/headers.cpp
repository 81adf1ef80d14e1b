// Nothing but what is precompiled for the tests.

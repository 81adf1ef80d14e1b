// Nothing but what is precompiled for the host and the programs.

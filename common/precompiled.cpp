// The precompiled header is built with this source; it contains nothing else.

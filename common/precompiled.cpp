// The source that the precompiled header is built with; it has nothing of its own.

// Nothing: the library made of it is there for those that it needs.

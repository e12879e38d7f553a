#error "a public header of Morvel pulls in a header of a dependency"

# XML reader for the layout file. Static; linked into the add-on base library.
needs=""

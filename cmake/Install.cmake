# filled by packaging

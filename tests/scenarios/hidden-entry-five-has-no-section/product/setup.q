# A section with an empty name is not what entry 5 runs.
[]
Text  never  -  -  NEVER  Not asked without a tag

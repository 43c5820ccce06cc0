// Exports nothing of a bundle's but what every one gets from the build.

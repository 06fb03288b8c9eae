target_sources(corvane_station PRIVATE
  utils/uniquefd.cpp)

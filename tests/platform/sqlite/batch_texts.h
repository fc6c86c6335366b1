// The blocks of the batches that insert or update service objects, in the forms of both servers. `dsca`
// stands in quotes as it is.
#pragma once

#include <string>

namespace iqrx::platform::sqlite {

inline std::string SqlServerBlock(const std::string& ccfg, int oseq, const std::string& dsca) {
    const std::string key = "N'" + ccfg + "'", number = std::to_string(oseq);
    return "\r\n BEGIN \r\n\r\nselect @iCount = count(*)  from tscfg200  WHERE ccfg= " + key +
           " AND crob= N'X' AND oseq= " + number + " IF(@iCount) = 0\r\n BEGIN \r\n\r\n" +
           "INSERT INTO tscfg200 (ccfg, crob, oseq, dsca, upd_flag) VALUES(" + key + ",N'X',N'" + number +
           "',N'" + dsca + "',0)\r\n END \r\n ELSE \r\n BEGIN\r\n\r\n" + "UPDATE  tscfg200 SET  ccfg =" + key +
           ",crob =N'X',oseq =N'" + number + "',dsca =N'" + dsca + "',upd_flag = 0 WHERE ccfg= " + key +
           " AND crob= N'X' AND oseq= N'" + number + "'\r\n END \r\n END\r\n\r\n";
}

inline std::string OracleBlock(const std::string& ccfg, int oseq, const std::string& dsca) {
    const std::string key = "N'" + ccfg + "'", number = std::to_string(oseq);
    return "\r\nBEGIN\r\n\r\nselect @iCount = count(*)  from tscfg200  WHERE ccfg= " + key +
           " AND crob= N'X' AND oseq= " + number + "IF(iCount) = 0 THEN\r\n\r\n" +
           "INSERT INTO tscfg200 (ccfg, crob, oseq, dsca, upd_flag) VALUES(" + key + ",N'X',N'" + number +
           "',N'" + dsca + "',0)\r\nELSE\r\n\r\n" + "UPDATE  tscfg200 SET  ccfg =" + key +
           ",crob =N'X',oseq =N'" + number + "',dsca =N'" + dsca + "',upd_flag = 0 WHERE ccfg= " + key +
           " AND crob= N'X' AND oseq= N'" + number + "'\r\nEND IF;\r\nEND;\r\n\r\n";
}

}  // namespace iqrx::platform::sqlite
